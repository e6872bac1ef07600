#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include "platform/linux_online/http/errors.h"

namespace tobrel {

// A web address as the HTTP library reads it, so that a decision about it and the connection made agree.
struct HTTPAddress {
    // As it is to be asked for, unchanged where it came from the user.
    std::string url;
    // In lower case.
    std::string scheme;
    std::string host;
    std::string port;
    // Host and, where it was written, port. Without user name and password.
    std::string name;
    // The library's own reading, a CURLU.
    std::shared_ptr<void> parts;

    bool hasOriginOf(const HTTPAddress& other) const;
    // Becomes the other address, where that differs in a plain query alone; else false, and nothing has changed.
    bool changeQuery(std::string_view other);
};

using ParsedHTTPAddress = std::variant<HTTPAddress, HTTPFailure>;

ParsedHTTPAddress parseHTTPAddress(std::string_view url);
// A redirect's target, relative to the address that answered with it.
ParsedHTTPAddress resolveHTTPAddress(const HTTPAddress& base, std::string_view location);

}  // namespace tobrel
