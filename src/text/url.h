#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

// A web address that parses, by the strict grammar: no blank, no control character, no character beyond ASCII.
class URL {
public:
    // Nothing where the text does not parse. An address without a scheme parses; whether it can be reached is the
    // transport's business.
    static std::optional<URL> parse(std::string_view text);
    // The text that was parsed, unchanged.
    const std::string& absoluteString() const { return text_; }

private:
    explicit URL(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

// Whether the text begins with http:// or https://, in whatever case: what may be handed to a browser.
bool isWebAddress(std::string_view text);

}  // namespace tobrel
