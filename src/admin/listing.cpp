#include "admin/listing.h"

#include <boost/json/serialize.hpp>
#include <cstdio>

#include "text/harmless_text.h"
#include "text/utf8.h"

namespace tobrel::admin {

namespace {

std::string escaped(std::string_view bytes) {
    std::string text;
    for (unsigned char byte : bytes) {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02X", byte);
        text += escape;
    }
    return text;
}

}  // namespace

std::string plainField(std::string_view bytes) {
    std::string field;
    while (!bytes.empty()) {
        std::string_view character = bytes.substr(0, firstCodePoint(bytes).length);
        bytes.remove_prefix(character.size());
        if (character == "\n")
            field += "\\n";
        else if (character == "\t")
            field += "\\t";
        else if (character == "\r")
            field += "\\r";
        else if (character == "\\")
            field += "\\\\";
        else
            field += harmless(character) == character ? character : escaped(character);
    }
    return field;
}

std::string jsonString(std::string_view bytes) {
    std::string text = boost::json::serialize(wellFormedUtf8(bytes));
    if (harmless(text) == text) return text;
    std::string safe;
    for (std::string_view rest = text; !rest.empty();) {
        CodePoint character = firstCodePoint(rest);
        std::string_view itself = rest.substr(0, character.length);
        rest.remove_prefix(character.length);
        if (harmless(itself) == itself) {
            safe += itself;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(*character.value));
            safe += escape;
        }
    }
    return safe;
}

}  // namespace tobrel::admin
