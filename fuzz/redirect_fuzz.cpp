// A server's redirect, whatever it says, never leads to an insecure or another kind of address, and never takes the
// key to another origin. Input: the address asked, a line break, and the Location that it answered.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/linux_online/http/redirect.h"

namespace {

void expect(bool holds) {
    if (!holds) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::size_t end = text.find('\n');
    if (end == text.npos) return 0;
    auto address = tobrel::parseHTTPAddress(text.substr(0, end));
    if (!std::holds_alternative<tobrel::HTTPAddress>(address)) return 0;
    const auto& from = std::get<tobrel::HTTPAddress>(address);
    expect(from.url == text.substr(0, end) && !from.host.empty());

    tobrel::HTTPHop hop{{.url = from.url, .httpMethod = "POST"}, from};
    hop.request.setValue("secret", "X-API-Key");
    auto taken = tobrel::takeRedirect(hop, 307, text.substr(end + 1));
    bool followed = std::holds_alternative<tobrel::Redirection>(taken) &&
                    std::get<tobrel::Redirection>(taken) == tobrel::Redirection::followed;
    if (!followed) {
        expect(hop.address.url == from.url && hop.redirects == 0);
        return 0;
    }
    expect(hop.address.scheme == "https" || (hop.address.scheme == "http" && from.scheme == "http"));
    expect(hop.request.headers.empty() == !hop.address.hasOriginOf(from));
    // What is asked next is read the same way when it is read again.
    auto again = tobrel::parseHTTPAddress(hop.address.url);
    expect(std::holds_alternative<tobrel::HTTPAddress>(again) &&
           std::get<tobrel::HTTPAddress>(again).hasOriginOf(hop.address));
    return 0;
}
