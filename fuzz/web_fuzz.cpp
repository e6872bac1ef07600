// Server address, page path, days and texts from a server or a form, whatever they hold: what may be opened is plain
// ASCII of the server's own, what is shown drives no terminal. Input: a server's address, a line break, a page path.
#include <algorithm>
#include <cstdint>
#include <string>

#include "check.h"
#include "flows/expiry.h"
#include "flows/web_address.h"
#include "platform/linux_online/text_linux.h"
#include "text/harmless_text.h"
#include "text/utf8.h"

namespace {

bool isPrintableAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c > ' ' && c < 0x7F; });
}

std::string withoutSlashes(std::string_view text) {
    std::string result(text);
    std::erase(result, '/');
    return result;
}

std::string decoded(std::string_view text) {
    std::string result;
    for (; !text.empty(); text.remove_prefix(1)) {
        if (text.front() != '%') {
            result += text.front();
            continue;
        }
        result += static_cast<char>(std::stoi(std::string(text.substr(1, 2)), nullptr, 16));
        text.remove_prefix(2);
    }
    return result;
}

void checkWebAddress(const std::string& server, std::string_view page, tobrel::TextServices& text) {
    auto address = tobrel::webAddress(server, page, text);
    if (!address) return;
    const std::string_view whole = address->absoluteString();
    check(isPrintableAscii(whole) && whole.starts_with(server));
    check(std::ranges::count(whole, '#') == 1);
    std::string_view path = whole.substr(server.size());
    path.remove_prefix(path.find("#files") + 6);
    check(path.empty() || path.starts_with('/'));
    check(path.find("//") == path.npos);
    check(withoutSlashes(decoded(path)) == withoutSlashes(page));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static tobrel::LinuxTextServices services;
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t line = std::min(text.find('\n'), size);
    checkWebAddress(text.substr(0, line), std::string_view(text).substr(std::min(line + 1, size)), services);

    if (auto url = tobrel::URL::parse(text)) check(url->absoluteString() == text && isPrintableAscii(text));

    std::string joined;
    for (std::string_view character : services.characters(text)) joined += character;
    check(joined == text);

    if (auto days = tobrel::readDays(text, services))
        check(*days >= 1 && *days <= 3650 && text.find(std::to_string(*days)) != text.npos);
    check(tobrel::expirySentence(text, services).ends_with('.'));

    const std::string shown = tobrel::harmless(text);
    check(tobrel::isUtf8(shown) && shown.size() <= 3 * size);
    check(std::ranges::none_of(shown, [](unsigned char c) { return c < ' ' || c == 0x7F; }));
    check(tobrel::harmless(shown) == shown);
    check(tobrel::mayBeCopied(text) == (shown == text));
    return 0;
}
