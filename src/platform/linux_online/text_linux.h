#pragma once

#include <optional>

#include "platform/text.h"

namespace tobrel {

// The locale of dates is the first of LC_ALL, LC_TIME and LANG that is set; where there is none, or it is "C" or
// "POSIX", they read as in English ("Jan 2, 2024"). The zone is TZ's, as every program of the C library reads it. What
// is ASCII and English is taken care of here, all else by the text module.
class LinuxTextServices : public TextServices {
public:
    std::vector<std::string_view> characters(std::string_view text) override;
    std::string_view trimmingWhitespace(std::string_view text) override;
    std::string_view trimmingWhitespaceAndNewlines(std::string_view text) override;
    std::string mediumDate(std::int64_t instant) override;
};

// The name of a host as it stands in an address, by UTS 46; nothing where it can be no host's name.
std::optional<std::string> asciiHost(std::string_view host);

}  // namespace tobrel
