#include "platform/linux_online/http/address.h"

#include <curl/curl.h>
#include <curl/urlapi.h>

#include <algorithm>
#include <memory>

namespace tobrel {
namespace {

struct Cleanup {
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
};
using Handle = std::unique_ptr<CURLU, Cleanup>;

char lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

std::string lowered(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), lower);
    return result;
}

bool isSchemeCharacter(char character) {
    return (lower(character) >= 'a' && lower(character) <= 'z') || (character >= '0' && character <= '9') ||
           character == '+' || character == '-' || character == '.';
}

// The scheme in lower case, or nothing for a relative address.
std::optional<std::string> schemeOf(std::string_view url) {
    std::size_t end = 0;
    while (end < url.size() && isSchemeCharacter(url[end])) ++end;
    if (end == 0 || end == url.size() || url[end] != ':') return std::nullopt;
    return lowered(url.substr(0, end));
}

// The library would take "https:///host" and the like for an address with a host.
bool namesHost(std::string_view url, const std::string& scheme) {
    std::string_view rest = url.substr(scheme.size() + 1);
    return rest.size() > 2 && rest.starts_with("//") && rest[2] != '/' && rest[2] != '?' && rest[2] != '#';
}

std::string part(CURLU* handle, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (curl_url_get(handle, part, &text, flags) != CURLUE_OK) return {};
    std::string result = text;
    curl_free(text);
    return result;
}

}  // namespace

bool HTTPAddress::hasOriginOf(const HTTPAddress& other) const {
    return scheme == other.scheme && host == other.host && port == other.port;
}

ParsedHTTPAddress parseHTTPAddress(std::string_view url) {
    if (std::any_of(url.begin(), url.end(), [](unsigned char byte) { return byte <= 0x20 || byte == 0x7f; }))
        return HTTPFailure::badAddress;
    auto scheme = schemeOf(url);
    if (scheme != "http" && scheme != "https") return HTTPFailure::unsupportedScheme;
    if (!namesHost(url, *scheme)) return HTTPFailure::badAddress;
    Handle handle(curl_url());
    std::string text(url);
    if (curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK)
        return HTTPFailure::badAddress;
    std::string host = lowered(part(handle.get(), CURLUPART_HOST));
    std::string port = part(handle.get(), CURLUPART_PORT);
    return HTTPAddress{.url = std::move(text),
                       .scheme = *scheme,
                       .host = host,
                       .port = part(handle.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT),
                       .name = port.empty() ? host : host + ":" + port};
}

ParsedHTTPAddress resolveHTTPAddress(const HTTPAddress& base, std::string_view location) {
    if (location.find('\0') != location.npos) return HTTPFailure::badAddress;
    if (auto scheme = schemeOf(location)) {
        if (scheme != "http" && scheme != "https") return HTTPFailure::unsupportedScheme;
        if (!namesHost(location, *scheme)) return HTTPFailure::badAddress;
    }
    Handle handle(curl_url());
    constexpr unsigned kLenient = CURLU_URLENCODE | CURLU_ALLOW_SPACE;
    if (curl_url_set(handle.get(), CURLUPART_URL, base.url.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK ||
        curl_url_set(handle.get(), CURLUPART_URL, std::string(location).c_str(), kLenient) != CURLUE_OK)
        return HTTPFailure::badAddress;
    // Read again as the connection will read it, so that both mean the same host.
    return parseHTTPAddress(part(handle.get(), CURLUPART_URL));
}

}  // namespace tobrel
