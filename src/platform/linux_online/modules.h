#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/text.h"

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

class TextModule : public TextServices {
public:
    virtual std::optional<std::string> asciiHost(std::string_view host) = 0;
};
TextModule& textModule();

}  // namespace tobrel
