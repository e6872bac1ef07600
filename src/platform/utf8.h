#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// The text with U+FFFD in the place of every byte that is not part of well-formed UTF-8.
std::string wellFormedUtf8(std::string_view bytes);

}  // namespace tobrel
