#pragma once

#include <cstddef>
#include <optional>
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

}  // namespace tobrel
