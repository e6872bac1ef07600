#include "devserver/clock.h"

namespace tobrel::devserver {

namespace {

constexpr const char* pattern = "%Y-%m-%d %H:%M:%S";

}  // namespace

std::string textOf(Instant instant) {
    std::time_t time = instant;
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[64];
    return {text, std::strftime(text, sizeof text, pattern, &parts)};
}

std::optional<Instant> instantOf(const std::string& text) {
    std::tm parts{};
    if (!strptime(text.c_str(), pattern, &parts)) return std::nullopt;
    Instant instant = timegm(&parts);
    // Refuses what strptime is lenient about: blanks, missing zeros, the 31st of June.
    return textOf(instant) == text ? std::optional(instant) : std::nullopt;
}

}  // namespace tobrel::devserver
