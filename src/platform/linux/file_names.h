#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/file_descriptor.h"
#include "platform/files.h"

// The names of a folder's files: what stands under them, what is made beside them, and how they change hands.
namespace tobrel {

// The folder that a path lies in; a path without one lies in ".".
std::string folderOf(const std::string& path);
// No descriptor, with errno, where it cannot be opened.
FileDescriptor openFolder(const std::string& path);
// What a name stands for, a symbolic link itself included.
FileState stateOf(const std::string& path);

// A new name for a file that will take another's place; "" where the system gives no random number.
enum class Guard { lock, none };
std::string temporaryName(Guard guard);
// Removes temporary files whose makers have ended. Only for the holder of the folder's lock.
void removeLeftovers(const std::string& path, int folder);

// Renames the file where nothing has the other name. False with errno, EEXIST where something has.
bool renameToFree(const std::string& from, const std::string& to);
// Exchanges the files, or, where the file system knows no exchange, lets `from` take the other's place in such a way
// that what it replaced has the name `from` then. False with errno, ENOENT where one of them has gone.
bool exchangeNames(const std::string& from, const std::string& to);
// Gives the file a name that tells that it was kept, beside `path`; nothing, with errno, where that cannot be.
std::optional<std::string> keepBeside(const std::string& from, const std::string& path);
// What has been kept so.
std::vector<std::string> keptBeside(const std::string& path);

}  // namespace tobrel
