#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

// The first character of a text that is not empty.
struct CodePoint {
    // Nothing for bytes that are no UTF-8 (overlong forms and surrogates are none).
    std::optional<char32_t> value;
    // The bytes it takes, at least one.
    std::size_t length = 1;
};

CodePoint firstCodePoint(std::string_view text);

bool isUtf8(std::string_view text);

// The text with U+FFFD in the place of every byte that is not part of well-formed UTF-8.
std::string wellFormedUtf8(std::string_view bytes);

}  // namespace tobrel
