#include "text/harmless_text.h"

#include "text/utf8.h"

namespace tobrel {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

std::string controlPicture(char32_t control) {
    char picture = static_cast<char>(control == 0x7F ? 0xA1 : 0x80 + control);
    return {'\xE2', '\x90', picture};
}

bool drivesTheDisplay(char32_t character) {
    auto within = [&](char32_t first, char32_t last) { return character >= first && character <= last; };
    return within(0x80, 0x9F) || within(0x2028, 0x202E) || within(0x2066, 0x2069);
}

}  // namespace

std::string harmless(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        CodePoint first = firstCodePoint(text);
        if (!first.value || drivesTheDisplay(*first.value)) {
            result += replacementCharacter;
        } else if (*first.value < 0x20 || *first.value == 0x7F) {
            result += controlPicture(*first.value);
        } else {
            result += text.substr(0, first.length);
        }
        text.remove_prefix(first.length);
    }
    return result;
}

std::string inQuotes(std::string_view text) {
    return "“" + harmless(text) + "”";
}

}  // namespace tobrel
