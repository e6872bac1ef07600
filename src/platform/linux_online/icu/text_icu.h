#pragma once

#include "platform/linux_online/modules.h"

namespace tobrel {

// The character database and date styles of ICU. The locale is the first of LC_ALL, LC_TIME and LANG that is set;
// where there is none, or it is "C" or "POSIX", dates read as in English ("Jan 2, 2024"). The zone is TZ's, as every
// program of the C library reads it. Dates are rare: nothing is loaded before the first, and nothing kept.
class IcuTextServices : public TextModule {
public:
    std::vector<std::string_view> characters(std::string_view text) override;
    std::string_view trimmingWhitespace(std::string_view text) override;
    std::string_view trimmingWhitespaceAndNewlines(std::string_view text) override;
    std::string mediumDate(std::int64_t instant) override;
    std::optional<std::string> asciiHost(std::string_view host) override;
};

}  // namespace tobrel
