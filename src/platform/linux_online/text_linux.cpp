#include "platform/linux_online/text_linux.h"

#include <algorithm>

#include "platform/linux_online/modules.h"

namespace tobrel {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

std::string_view trimming(std::string_view text, std::string_view trimmed) {
    text.remove_prefix(std::min(text.find_first_not_of(trimmed), text.size()));
    return text.substr(0, text.find_last_not_of(trimmed) + 1);
}

}  // namespace

std::vector<std::string_view> LinuxTextServices::characters(std::string_view text) {
    if (!isAscii(text)) return textModule().characters(text);
    std::vector<std::string_view> characters;
    characters.reserve(text.size());
    while (!text.empty()) {
        std::size_t length = text.starts_with("\r\n") ? 2 : 1;
        characters.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return characters;
}

std::string_view LinuxTextServices::trimmingWhitespace(std::string_view text) {
    return isAscii(text) ? trimming(text, " \t") : textModule().trimmingWhitespace(text);
}

std::string_view LinuxTextServices::trimmingWhitespaceAndNewlines(std::string_view text) {
    return isAscii(text) ? trimming(text, " \t\n\v\f\r") : textModule().trimmingWhitespaceAndNewlines(text);
}

std::string LinuxTextServices::mediumDate(std::int64_t instant) {
    return textModule().mediumDate(instant);
}

std::optional<std::string> asciiHost(std::string_view host) {
    return textModule().asciiHost(host);
}

}  // namespace tobrel
