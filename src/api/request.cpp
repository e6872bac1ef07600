#include "api/request.h"

#include <algorithm>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <utility>

#include "api/api.h"
#include "api/client_header.h"
#include "dispatch/uilog.h"
#include "platform/platform.h"
#include "platform/text.h"
#include "state/config.h"
#include "text/json.h"
#include "text/url.h"

namespace tobrel {

namespace {

std::size_t lengthInCharacters(std::string_view text) {
    bool printableAscii = std::all_of(text.begin(), text.end(), [](char each) { return each >= ' ' && each <= '~'; });
    return printableAscii ? text.size() : platform::online().text.characters(text).size();
}

// Nothing where a text in the body is not UTF-8: what would not read back is not sent.
std::optional<std::string> serialized(const boost::json::object& body) {
    std::string text = boost::json::serialize(body);
    if (!json::parseObject(text)) return std::nullopt;
    return text;
}

}  // namespace

const std::string& RequestSettings::server() {
    if (!server_) server_ = Config::server();
    return *server_;
}

const std::string& RequestSettings::apiKey() {
    if (!apiKey_) apiKey_ = Config::apiKey();
    return *apiKey_;
}

std::optional<URLRequest> buildRequest(RequestSettings& settings, std::string_view path, std::string_view method,
                                       const boost::json::object* body) {
    if (settings.server().empty()) return std::nullopt;
    auto url = URL::parse(std::string(settings.server()).append(path));
    if (!url) return std::nullopt;

    const std::string& apiKey = settings.apiKey();
    osLog(uilog(), OSLogType::error, "%{public}@ %{public}@ (key %d chars)", method, url->absoluteString(),
          lengthInCharacters(apiKey));

    URLRequest request{.url = url->absoluteString(), .httpMethod = std::string(method), .timeoutInterval = 30};
    request.setValue(apiKey, "X-API-Key");
    request.setValue(tobrelClientHeader(), "X-Tobrel-Client");
    if (body) {
        request.setValue("application/json", "Content-Type");
        request.httpBody = serialized(*body);
    }
    return request;
}

std::optional<URLRequest> API::request(std::string_view path, std::string_view method,
                                       const boost::json::object* body) {
    RequestSettings settings;
    return buildRequest(settings, path, method, body);
}

}  // namespace tobrel
