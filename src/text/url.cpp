#include "text/url.h"

#include <algorithm>
#include <boost/url/parse.hpp>
#include <charconv>

namespace tobrel {
namespace {

// No port at all may follow its colon.
bool isPort(std::string_view text) {
    std::uint16_t port = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    return text.empty() || (error == std::errc() && end == text.data() + text.size());
}

// Of what the library has passed. Its versions differ in what they let through here, and all let through too much.
bool isAuthority(std::string_view text) {
    if (std::size_t at = text.find('@'); at != text.npos) text.remove_prefix(at + 1);
    if (text.find('@') != text.npos) return false;
    std::size_t hostEnd = text.starts_with('[') ? text.find(']') + 1 : std::min(text.find(':'), text.size());
    std::string_view rest = text.substr(hostEnd);
    return rest.empty() || (rest.front() == ':' && isPort(rest.substr(1)));
}

// Nothing where the text has none.
std::string_view authority(std::string_view text) {
    std::size_t begin = text.find_first_of(":/?#");
    if (begin != text.npos && text[begin] == ':') text.remove_prefix(begin + 1);
    if (!text.starts_with("//")) return {};
    text.remove_prefix(2);
    return text.substr(0, text.find_first_of("/?#"));
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
    if (!boost::urls::parse_uri_reference(text)) return std::nullopt;
    if (std::count(text.begin(), text.end(), '#') > 1 || !isAuthority(authority(text))) return std::nullopt;
    return URL(std::string(text));
}

bool isWebAddress(std::string_view text) {
    for (std::string_view scheme : {"http://", "https://"})
        if (text.size() >= scheme.size() && std::equal(scheme.begin(), scheme.end(), text.begin(), [](char a, char b) {
                return a == (b >= 'A' && b <= 'Z' ? b + ('a' - 'A') : b);
            }))
            return true;
    return false;
}

}  // namespace tobrel
