#pragma once

#include "platform/linux_online/modules.h"

namespace tobrel {

// The character database and date styles of ICU. Dates are rare: nothing is loaded before the first, and nothing kept.
class IcuTextServices : public TextModule {
public:
    std::vector<std::string_view> characters(std::string_view text) override;
    std::string_view trimmingWhitespace(std::string_view text) override;
    std::string_view trimmingWhitespaceAndNewlines(std::string_view text) override;
    std::string mediumDate(std::int64_t wallClock, const std::string& locale) override;
    std::optional<std::string> asciiHost(std::string_view host) override;
};

}  // namespace tobrel
