#pragma once

#include <memory>

#include "admin/subcommand.h"

namespace tobrel {
class Files;
class LinuxKeychain;
class TextServices;
class URLSession;
class UserDatabase;
}  // namespace tobrel

namespace tobrel::admin {

// The real parts for the subcommands that look after settings, key and server, installed as the platform for its life.
class Composition {
public:
    explicit Composition(const Invocation& invocation);
    ~Composition();
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;

    UserDatabase& users();
    Files& files();
    LinuxKeychain& keychain();
    TextServices& text();
    URLSession& urlSession();

private:
    struct Parts;
    const std::unique_ptr<Parts> parts_;
};

}  // namespace tobrel::admin
