#include "flows/expiry.h"

#include <charconv>
#include <chrono>

#include "platform/text.h"

namespace tobrel {

namespace {

constexpr std::string_view pattern = "yyyy-MM-dd HH:mm:ss";

bool matchesPattern(std::string_view text) {
    if (text.size() != pattern.size()) return false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        bool letter = (pattern[at] | 0x20) >= 'a' && (pattern[at] | 0x20) <= 'z';
        if (letter ? text[at] < '0' || text[at] > '9' : text[at] != pattern[at]) return false;
    }
    return true;
}

int number(std::string_view digits) {
    int value = 0;
    for (char digit : digits) value = value * 10 + (digit - '0');
    return value;
}

}  // namespace

std::optional<int> readDays(std::string_view typed, TextServices& text) {
    std::string_view digits = text.trimmingWhitespace(typed);
    if (digits.starts_with("+") && !digits.starts_with("+-")) digits.remove_prefix(1);
    int days = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), days);
    if (error != std::errc() || end != digits.data() + digits.size() || days < 1 || days > 3650) return std::nullopt;
    return days;
}

std::optional<std::int64_t> parseExpiry(std::string_view expiresAt) {
    if (!matchesPattern(expiresAt)) return std::nullopt;
    int year = number(expiresAt.substr(0, 4));
    unsigned month = number(expiresAt.substr(5, 2));
    unsigned day = number(expiresAt.substr(8, 2));
    int hour = number(expiresAt.substr(11, 2));
    int minute = number(expiresAt.substr(14, 2));
    int second = number(expiresAt.substr(17, 2));

    using namespace std::chrono;
    year_month_day date{std::chrono::year(year), std::chrono::month(month), std::chrono::day(day)};
    // The calendar has no year 0.
    if (year == 0 || !date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    sys_seconds instant = sys_days(date) + hours(hour) + minutes(minute) + seconds(second);
    return instant.time_since_epoch().count();
}

std::string expirySentence(const std::optional<std::string>& expiresAt, TextServices& text) {
    if (!expiresAt || expiresAt->empty()) return "This link does not expire.";
    if (auto instant = parseExpiry(*expiresAt)) return "Expires " + text.mediumDate(*instant) + ".";
    return "Expires " + *expiresAt + " UTC.";
}

}  // namespace tobrel
