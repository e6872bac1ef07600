#pragma once

#include <boost/json/fwd.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "platform/http.h"

namespace tobrel {

// What requests are built from, each read once, when it is first needed. One thread at a time.
class RequestSettings {
public:
    const std::string& server();
    const std::string& apiKey();

private:
    std::optional<std::string> server_;
    std::optional<std::string> apiKey_;
};

// As API::request builds it, from settings that other requests may share.
std::optional<URLRequest> buildRequest(RequestSettings& settings, std::string_view path, std::string_view method,
                                       const boost::json::object* body);

}  // namespace tobrel
