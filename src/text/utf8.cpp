#include "text/utf8.h"

namespace tobrel {

CodePoint firstCodePoint(std::string_view text) {
    auto byte = [&](std::size_t at) -> unsigned { return at < text.size() ? static_cast<unsigned char>(text[at]) : 0; };
    unsigned lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                         : lead >= 0xE0 && lead <= 0xEF ? 3
                         : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                        : 0;
    if (length == 0) return {};
    // The second byte's range keeps out overlong forms, surrogates and what lies above U+10FFFF.
    unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t value = lead & (0xFF >> (length + 1));
    for (std::size_t at = 1; at < length; ++at) {
        if (byte(at) < lowest || byte(at) > highest) return {std::nullopt, at};
        value = value << 6 | (byte(at) & 0x3F);
        lowest = 0x80;
        highest = 0xBF;
    }
    return {value, length};
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        CodePoint first = firstCodePoint(text);
        if (!first.value) return false;
        text.remove_prefix(first.length);
    }
    return true;
}

std::string wellFormedUtf8(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        CodePoint first = firstCodePoint(bytes);
        if (first.value) {
            text += bytes.substr(0, first.length);
        } else {
            for (std::size_t byte = 0; byte < first.length; ++byte) text += "\xEF\xBF\xBD";
        }
        bytes.remove_prefix(first.length);
    }
    return text;
}

}  // namespace tobrel
