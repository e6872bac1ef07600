#pragma once

#include <string>

#include "platform/files.h"

namespace tobrel {

// The owners and modes of the file, of its folder, and where the path is a link of what that leads to.
FileTrust trustOf(const std::string& path);

}  // namespace tobrel
