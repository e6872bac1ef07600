#pragma once

#include <memory>

#include "platform/linux/file_names.h"
#include "platform/linux/notice.h"

namespace tobrel {

// Null, after a notice, where the file's folder takes no new file.
std::unique_ptr<FileReplacement> makeFileReplacement(const std::string& path, Guard guard, const Notice& notice);

// Null where there is no readable regular file.
std::unique_ptr<FileReader> openFile(const std::string& path);

// What is told when a file has been kept under another name.
std::string keptSentence(const std::string& path, const std::string& name);

}  // namespace tobrel
