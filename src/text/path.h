#pragma once

#include <string_view>

namespace tobrel {

// The text after the last "/", trailing slashes being ignored first; "/" for slashes alone, "" for "".
std::string_view lastPathComponent(std::string_view path);

}  // namespace tobrel
