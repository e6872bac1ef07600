#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel {

class KeychainStorage;
struct SecretServiceBounds;

// What takes long to load is a module of its own beside the programs, loaded when it is first asked for and kept. Each
// call is for any thread, and throws std::runtime_error where the module cannot be loaded.

class SessionModule {
public:
    virtual ~SessionModule() = default;
    virtual std::unique_ptr<KeychainStorage> makeSecretService(const SecretServiceBounds& bounds) = 0;
    virtual bool openURL(const std::string& url) = 0;
};
SessionModule& sessionModule();

class TextModule {
public:
    virtual ~TextModule() = default;
    // As TextServices has them.
    virtual std::vector<std::string_view> characters(std::string_view text) = 0;
    virtual std::string_view trimmingWhitespace(std::string_view text) = 0;
    virtual std::string_view trimmingWhitespaceAndNewlines(std::string_view text) = 0;
    // Of the seconds since 1970 in the user's zone, as the locale of that name writes it.
    virtual std::string mediumDate(std::int64_t wallClock, const std::string& locale) = 0;
    virtual std::optional<std::string> asciiHost(std::string_view host) = 0;
};
TextModule& textModule();

}  // namespace tobrel
