#include "state/queue_entry.h"

#include <algorithm>
#include <bit>
#include <boost/json/serialize.hpp>
#include <cctype>
#include <cstdint>
#include <cstring>

#include "text/utf8.h"

namespace tobrel {

namespace {

constexpr std::string_view head = "{\"id\":\"";
constexpr std::string_view pinnedTail = "\",\"pin\":true}", unpinnedTail = "\",\"pin\":false}";

constexpr bool isLittleEndian = std::endian::native == std::endian::little;

// Not 0 where a byte of the word is not plain: the lowest bit that is set belongs to the lowest such byte.
std::uint64_t specialBytes(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101, highBits = ones << 7;
    std::uint64_t quotes = word ^ (ones * '"'), backslashes = word ^ (ones * '\\');
    return (word | (word - ones * ' ') | (quotes - ones) | (backslashes - ones)) & highBits;
}

bool isPlain(unsigned char c) {
    return c >= ' ' && c < 0x80 && c != '"' && c != '\\';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The end of the plain text at the beginning.
const char* plainEnd(const char* at, const char* end) {
    for (std::uint64_t word; end - at >= 8; at += 8) {
        std::memcpy(&word, at, 8);
        std::uint64_t special = specialBytes(word);
        if (special && isLittleEndian) return at + std::countr_zero(special) / 8;
        if (special) break;
    }
    while (at != end && isPlain(*at)) ++at;
    return at;
}

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// The length of what stands at the beginning of a string's rest, if that is an escape or takes several bytes; else 0.
std::size_t specialLength(std::string_view text) {
    if (text[0] != '\\') {
        CodePoint first = firstCodePoint(text);
        return first.value && *first.value >= 0x80 ? first.length : 0;
    }
    constexpr std::string_view simple = "\"\\/bfnrt";
    if (text.size() < 6) return 0;
    if (text[1] != 'u') return simple.find(text[1]) == simple.npos ? 0 : 2;
    return std::all_of(&text[2], &text[6], [](unsigned char c) { return std::isxdigit(c); }) ? 6 : 0;
}

}  // namespace

void addQueueEntry(std::string& text, std::string_view identifier, bool pinned) {
    const std::string_view tail = pinned ? pinnedTail : unpinnedTail;
    // Nearly every identifier stands for itself.
    if (plainLength(identifier) == identifier.size()) {
        text.append(head).append(identifier).append(tail);
    } else {
        text.append(head.substr(0, head.size() - 1));
        text += boost::json::serialize(wellFormedUtf8(identifier));
        text.append(tail.substr(1));
    }
}

std::size_t ownEntriesLength(std::string_view text) {
    const char* at = text.data();
    const char* end = at + text.size();
    auto skip = [&](std::string_view expected) {
        if (static_cast<std::size_t>(end - at) < expected.size()) return false;
        if (std::memcmp(at, expected.data(), expected.size()) != 0) return false;
        at += expected.size();
        return true;
    };
    std::size_t length = 0;
    do {
        if (!skip(head)) break;
        at = plainEnd(at, end);
        if (!skip(pinnedTail) && !skip(unpinnedTail)) break;
        length = at - text.data();
    } while (skip(","));
    return length;
}

namespace {

// How far a text has been read and its copy written. Handed on by value, which keeps it in registers; `at` is null
// where the text is not simple.
struct Place {
    const char* at;
    char* to;
};

void takeOne(Place& place) {
    *place.to++ = *place.at++;
}

// Few bytes; the compiler would make much of a loop.
void take(Place& place, std::size_t length) {
    std::memmove(place.to, place.at, length);
    place.at += length;
    place.to += length;
}

const char* skipSpace(const char* at, const char* end) {
    while (at != end && *at <= ' ' && isSpace(*at)) ++at;
    return at;
}

Place copyString(Place place, const char* end) {
    takeOne(place);
    while (true) {
        for (std::uint64_t word; end - place.at >= 8; place.at += 8, place.to += 8) {
            std::memcpy(&word, place.at, 8);
            std::memcpy(place.to, &word, 8);
            std::uint64_t special = specialBytes(word);
            if (!special) continue;
            std::size_t plain = isLittleEndian ? std::countr_zero(special) / 8 : 0;
            place.at += plain;
            place.to += plain;
            break;
        }
        if (place.at == end) return {};
        if (*place.at == '"') {
            takeOne(place);
            return place;
        }
        std::size_t length = isPlain(*place.at) ? 1 : specialLength({place.at, end});
        if (length == 0) return {};
        take(place, length);
    }
}

Place copyDigits(Place place, const char* end) {
    if (place.at == end || !isDigit(*place.at)) return {};
    while (place.at != end && isDigit(*place.at)) takeOne(place);
    return place;
}

Place copyNumber(Place place, const char* end) {
    if (*place.at == '-') takeOne(place);
    const char* digits = place.at;
    place = copyDigits(place, end);
    if (!place.at || (*digits == '0' && place.at - digits > 1)) return {};
    if (place.at == end || *place.at != '.') return place;
    takeOne(place);
    return copyDigits(place, end);
}

Place copyWord(Place place, const char* end) {
    std::string_view text(place.at, end);
    if (text.starts_with("true") || text.starts_with("null"))
        take(place, 4);
    else if (text.starts_with("false"))
        take(place, 5);
    else
        return {};
    return place;
}

Place copySimpleObject(Place place, const char* end) {
    if (place.at == end || *place.at != '{') return {};
    takeOne(place);
    for (bool isKey = true;; isKey = !isKey) {
        place.at = skipSpace(place.at, end);
        if (place.at == end) return {};
        if (*place.at == '"')
            place = copyString(place, end);
        else if (isKey)
            return {};
        else
            place = *place.at == '-' || isDigit(*place.at) ? copyNumber(place, end) : copyWord(place, end);
        if (!place.at) return {};
        place.at = skipSpace(place.at, end);
        if (place.at == end) return {};
        char c = *place.at;
        bool isEnd = c == '}' && !isKey;
        if (!isEnd && c != (isKey ? ':' : ',')) return {};
        takeOne(place);
        if (isEnd) return place;
    }
}

}  // namespace

std::size_t copySimpleObjects(std::string_view text, char*& to) {
    const char* const end = text.data() + text.size();
    Place place = copySimpleObject({text.data(), to}, end);
    if (!place.at) return 0;
    while (true) {
        to = place.to;
        std::size_t length = place.at - text.data();
        place.at = skipSpace(place.at, end);
        if (place.at == end || *place.at != ',') return length;
        takeOne(place);
        place.at = skipSpace(place.at, end);
        place = copySimpleObject(place, end);
        if (!place.at) return length;
    }
}

std::size_t simpleObjectLength(std::string_view text) {
    bool inString = false;
    std::size_t at = 0;
    for (; at < text.size() && (inString || text[at] != '}'); ++at) {
        if (text[at] == '"') inString = !inString;
        if (text[at] == '\\') ++at;
    }
    return std::min(at + 1, text.size());
}

std::size_t plainLength(std::string_view text) {
    return plainEnd(text.data(), text.data() + text.size()) - text.data();
}

}  // namespace tobrel
