#include "platform/utf8.h"

#include <cstdint>

namespace tobrel {

namespace {

// The length of the well-formed sequence at the start of the bytes; 0 where there is none.
std::size_t sequenceLength(std::string_view bytes) {
    auto byte = [&](std::size_t index) { return static_cast<std::uint8_t>(bytes[index]); };
    std::uint8_t lead = byte(0);
    if (lead < 0x80) return 1;
    if (lead < 0xC2 || lead > 0xF4) return 0;
    std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (bytes.size() < length) return 0;
    // Overlong forms, surrogates and what lies past U+10FFFF show in the second byte.
    std::uint8_t lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    std::uint8_t highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (byte(1) < lowest || byte(1) > highest) return 0;
    for (std::size_t index = 2; index < length; ++index)
        if ((byte(index) & 0xC0) != 0x80) return 0;
    return length;
}

}  // namespace

std::string wellFormedUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        std::size_t length = sequenceLength(bytes);
        if (length == 0) {
            text += "\xEF\xBF\xBD";
            bytes.remove_prefix(1);
        } else {
            text += bytes.substr(0, length);
            bytes.remove_prefix(length);
        }
    }
    return text;
}

}  // namespace tobrel
