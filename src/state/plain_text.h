#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace tobrel {

// How much of the text, from its beginning, is ASCII that stands for itself in a JSON string.
inline std::size_t plainLength(std::string_view text) {
    constexpr std::uint64_t ones = 0x0101010101010101, highBits = ones << 7;
    std::size_t length = 0;
    // Eight at a time.
    for (std::uint64_t word; text.size() - length >= 8; length += 8) {
        std::memcpy(&word, text.data() + length, 8);
        std::uint64_t quotes = word ^ (ones * '"'), backslashes = word ^ (ones * '\\');
        std::uint64_t special =
            word | ((word - ones * ' ') & ~word) | ((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes);
        special &= highBits;
        if (special && std::endian::native == std::endian::little) return length + std::countr_zero(special) / 8;
        if (special) break;
    }
    auto isPlain = [](unsigned char c) { return c >= ' ' && c < 0x80 && c != '"' && c != '\\'; };
    while (length < text.size() && isPlain(text[length])) ++length;
    return length;
}

}  // namespace tobrel
