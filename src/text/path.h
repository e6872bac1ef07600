#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// The text after the last "/", trailing slashes being ignored first; "/" for slashes alone, "" for "".
std::string_view lastPathComponent(std::string_view path);

// Without empty and "." components and slashes at the end. ".." stays, because behind a link it is another folder.
std::string withoutDots(std::string_view absolutePath);

}  // namespace tobrel
