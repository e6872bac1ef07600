#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

class TextServices;

// The number of days that a user typed, 1 to 3650; blanks around it do not count.
std::optional<int> readDays(std::string_view typed, TextServices& text);

// The instant, in seconds since 1970, of a "yyyy-MM-dd HH:mm:ss" in UTC.
std::optional<std::int64_t> parseExpiry(std::string_view expiresAt);

// When a link expires, as a sentence; a text that is no such instant stands in it as it is.
std::string expirySentence(const std::optional<std::string>& expiresAt, TextServices& text);

}  // namespace tobrel
