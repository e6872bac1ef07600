#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel {

// What needs the character database and the user's locale. Text is UTF-8; bytes that are not count as U+FFFD.
// Any thread.
class TextServices {
public:
    virtual ~TextServices() = default;
    // The text's grapheme clusters, in order, each with its own bytes.
    virtual std::vector<std::string_view> characters(std::string_view text) = 0;
    // Without spaces of any kind and tabs at both ends.
    virtual std::string_view trimmingWhitespace(std::string_view text) = 0;
    // Without white space and line breaks of any kind at both ends.
    virtual std::string_view trimmingWhitespaceAndNewlines(std::string_view text) = 0;
    // The date, without the time, of an instant (seconds since 1970 in UTC) in the medium style of the user's own
    // locale and time zone, both read from the environment.
    virtual std::string mediumDate(std::int64_t instant) = 0;
};

}  // namespace tobrel
