#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/http.h"
#include "platform/linux_online/http/address.h"

namespace tobrel {

using HTTPHeaders = decltype(URLRequest::headers);

// One request on its way: where it goes next, and what it still carries.
struct HTTPHop {
    // Without its headers, which requests share.
    URLRequest request;
    std::shared_ptr<const HTTPHeaders> headers;
    HTTPAddress address;
    int redirects = 0;
};

enum class Redirection { none, followed };

// Takes an answer's redirect: the hop becomes the request that follows it, or nothing is to be followed, or the
// failure says why it must not be. What a key or a password travels in never leaves the origin it was meant for.
std::variant<Redirection, HTTPFailure> takeRedirect(HTTPHop& hop, int statusCode,
                                                    const std::optional<std::string>& location);

}  // namespace tobrel
