#include "flows/web_address.h"

#include "platform/text.h"
#include "text/harmless_text.h"

namespace tobrel {

namespace {

bool isAllowedInPath(char byte) {
    static constexpr std::string_view allowed =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789!$&'()*+,-.:=_~@";
    return allowed.find(byte) != allowed.npos;
}

// Escapes a "/" as well: here it can only be a part of a larger character.
std::string encoded(std::string_view character) {
    std::string text;
    for (char byte : character) {
        if (isAllowedInPath(byte)) {
            text += byte;
            continue;
        }
        static constexpr char digits[] = "0123456789ABCDEF";
        unsigned value = static_cast<unsigned char>(byte);
        text.append({'%', digits[value / 16], digits[value % 16]});
    }
    return text;
}

}  // namespace

std::string_view parentPath(std::string_view path) {
    std::size_t slash = path.rfind('/');
    return slash == path.npos ? std::string_view() : path.substr(0, slash);
}

std::optional<URL> webAddress(const std::string& server, std::string_view pagePath, TextServices& text) {
    if (server.empty()) return std::nullopt;
    std::string address = server + "/tobrel/account/files#files";
    bool betweenPieces = true;
    for (std::string_view character : text.characters(pagePath)) {
        if (character == "/") {
            betweenPieces = true;
            continue;
        }
        if (betweenPieces) address += '/';
        betweenPieces = false;
        address += encoded(character);
    }
    return URL::parse(address);
}

bool mayBeCopied(std::string_view address) {
    return harmless(address) == address;
}

}  // namespace tobrel
