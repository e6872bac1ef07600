// A server's redirect, whatever it says, never leads to an insecure or another kind of address, and never takes the
// key to another origin. Input: the address asked, a line break, and the Location that it answered.
#include <cstdint>
#include <string>

#include "check.h"
#include "platform/linux_online/http/redirect.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t end = text.find('\n');
    if (end == text.npos) return 0;
    auto address = tobrel::parseHTTPAddress(text.substr(0, end));
    if (!std::holds_alternative<tobrel::HTTPAddress>(address)) return 0;
    const auto& from = std::get<tobrel::HTTPAddress>(address);
    check(from.url == text.substr(0, end) && !from.host.empty());

    const tobrel::HTTPHeaders headers{{"X-API-Key", "secret"}};
    tobrel::HTTPHop hop{
        {.url = from.url, .httpMethod = "POST"}, std::make_shared<const tobrel::HTTPHeaders>(headers), from};
    auto taken = tobrel::takeRedirect(hop, 307, text.substr(end + 1));
    bool followed = std::holds_alternative<tobrel::Redirection>(taken) &&
                    std::get<tobrel::Redirection>(taken) == tobrel::Redirection::followed;
    if (!followed) {
        check(hop.address.url == from.url && hop.redirects == 0);
        return 0;
    }
    check(hop.address.scheme == "https" || (hop.address.scheme == "http" && from.scheme == "http"));
    check(hop.headers->empty() == !hop.address.hasOriginOf(from));
    // What is asked next is read the same way when it is read again.
    auto again = tobrel::parseHTTPAddress(hop.address.url);
    check(std::holds_alternative<tobrel::HTTPAddress>(again) &&
          std::get<tobrel::HTTPAddress>(again).hasOriginOf(hop.address));
    return 0;
}
