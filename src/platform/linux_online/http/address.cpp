#include "platform/linux_online/http/address.h"

#include <curl/curl.h>
#include <curl/urlapi.h>

#include <algorithm>
#include <optional>

namespace tobrel {
namespace {

CURLU* reading(const HTTPAddress& address) {
    return static_cast<CURLU*>(address.parts.get());
}

bool isControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7f;
}

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

bool HTTPAddress::changeQuery(std::string_view other) {
    std::size_t begin = url.find('?') + 1;
    if (begin == 0 || begin == other.size() || !other.starts_with(std::string_view(url).substr(0, begin))) return false;
    std::string query(other.substr(begin));
    // The library would change the case of an escape.
    if (std::any_of(query.begin(), query.end(),
                    [](unsigned char byte) { return byte <= 0x20 || byte >= 0x7f || byte == '%' || byte == '#'; }))
        return false;
    if (curl_url_set(reading(*this), CURLUPART_QUERY, query.c_str(), 0) != CURLUE_OK) return false;
    url.assign(other);
    return true;
}

ParsedHTTPAddress parseHTTPAddress(std::string_view url) {
    if (std::any_of(url.begin(), url.end(), [](unsigned char byte) { return byte == ' ' || isControl(byte); }))
        return HTTPFailure::badAddress;
    auto scheme = schemeOf(url);
    if (scheme != "http" && scheme != "https") return HTTPFailure::unsupportedScheme;
    if (!namesHost(url, *scheme)) return HTTPFailure::badAddress;
    HTTPAddress address{.url = std::string(url), .scheme = *scheme, .parts = {curl_url(), curl_url_cleanup}};
    CURLU* handle = reading(address);
    if (curl_url_set(handle, CURLUPART_URL, address.url.c_str(), CURLU_PATH_AS_IS) != CURLUE_OK)
        return HTTPFailure::badAddress;
    address.host = lowered(part(handle, CURLUPART_HOST));
    address.port = part(handle, CURLUPART_PORT, CURLU_DEFAULT_PORT);
    std::string port = part(handle, CURLUPART_PORT);
    address.name = port.empty() ? address.host : address.host + ":" + port;
    return address;
}

ParsedHTTPAddress resolveHTTPAddress(const HTTPAddress& base, std::string_view location) {
    // Newer versions of the library would send a line break escaped.
    if (std::any_of(location.begin(), location.end(), isControl)) return HTTPFailure::badAddress;
    if (auto scheme = schemeOf(location)) {
        if (scheme != "http" && scheme != "https") return HTTPFailure::unsupportedScheme;
        if (!namesHost(location, *scheme)) return HTTPFailure::badAddress;
    }
    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> target(curl_url_dup(reading(base)), curl_url_cleanup);
    constexpr unsigned lenient = CURLU_URLENCODE | CURLU_ALLOW_SPACE;
    if (curl_url_set(target.get(), CURLUPART_URL, std::string(location).c_str(), lenient) != CURLUE_OK)
        return HTTPFailure::badAddress;
    // Read again as the connection will read it, so that both mean the same host.
    return parseHTTPAddress(part(target.get(), CURLUPART_URL));
}

}  // namespace tobrel
