#include "platform/linux_online/text_linux.h"

#include <time.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/linux_online/modules.h"

namespace tobrel {

namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<signed char>(byte) >= 0; });
}

std::string dateLocale() {
    std::string_view name;
    for (const char* variable : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = std::getenv(variable);
        if (name.empty() && value) name = value;
    }
    std::string_view bare = name.substr(0, name.find('.'));
    return bare.empty() || bare == "C" || bare == "POSIX" ? "en_US_POSIX" : std::string(name);
}

bool isAmerican(std::string_view locale) {
    return locale == "en_US_POSIX" ||
           (locale.substr(0, locale.find('.')) == "en_US" && locale.find('@') == locale.npos);
}

std::string americanDate(const tm& day) {
    constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return months[day.tm_mon] + (" " + std::to_string(day.tm_mday)) + ", " + std::to_string(1900 + day.tm_year);
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
    time_t seconds = instant;
    tm local{};
    tzset();
    const bool isDated = localtime_r(&seconds, &local);
    const std::string locale = dateLocale();
    // Before the year 1 there are eras.
    if (isDated && local.tm_year > -1900 && isAmerican(locale)) return americanDate(local);
    return textModule().mediumDate(isDated ? instant + local.tm_gmtoff : instant, locale);
}

std::optional<std::string> asciiHost(std::string_view host) {
    return textModule().asciiHost(host);
}

}  // namespace tobrel
