#include "platform/linux_online/http/redirect.h"

#include <strings.h>

#include <initializer_list>
#include <utility>

namespace tobrel {
namespace {

constexpr int mostRedirects = 20;

void removeHeaders(HTTPHop& hop, std::initializer_list<const char*> names) {
    HTTPHeaders kept = *hop.headers;
    std::erase_if(kept, [&](const auto& header) {
        for (const char* name : names)
            if (strcasecmp(header.first.c_str(), name) == 0) return true;
        return false;
    });
    hop.headers = std::make_shared<const HTTPHeaders>(std::move(kept));
}

bool becomesGet(int statusCode, const std::string& method) {
    if (statusCode == 303) return method != "GET" && method != "HEAD";
    return (statusCode == 301 || statusCode == 302) && method == "POST";
}

HTTPFailure asRedirect(HTTPFailure failure) {
    return failure == HTTPFailure::unsupportedScheme ? HTTPFailure::redirectedToOtherScheme
                                                     : HTTPFailure::redirectedToBadAddress;
}

}  // namespace

std::variant<Redirection, HTTPFailure> takeRedirect(HTTPHop& hop, int statusCode,
                                                    const std::optional<std::string>& location) {
    bool redirects =
        statusCode == 301 || statusCode == 302 || statusCode == 303 || statusCode == 307 || statusCode == 308;
    if (!redirects || !location || location->empty()) return Redirection::none;
    auto resolved = resolveHTTPAddress(hop.address, *location);
    if (auto* failure = std::get_if<HTTPFailure>(&resolved)) return asRedirect(*failure);
    auto& target = std::get<HTTPAddress>(resolved);
    if (hop.address.scheme == "https" && target.scheme != "https") return HTTPFailure::redirectedToInsecure;
    if (hop.redirects == mostRedirects) return HTTPFailure::tooManyRedirects;

    if (becomesGet(statusCode, hop.request.httpMethod)) {
        hop.request.httpMethod = "GET";
        hop.request.httpBody.reset();
        removeHeaders(hop, {"Content-Type", "Content-Length", "Content-Encoding", "Content-Language"});
    }
    if (!target.hasOriginOf(hop.address))
        removeHeaders(hop, {"X-API-Key", "Authorization", "Proxy-Authorization", "Cookie", "Host"});
    hop.address = std::move(target);
    ++hop.redirects;
    return Redirection::followed;
}

}  // namespace tobrel
