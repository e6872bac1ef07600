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

constexpr std::string_view head = "{\"id\":", middle = ",\"pin\":", yes = "true}", no = "false}";

// How many of the eight bytes, from the first in memory, come before the first that a JSON string cannot hold as it is.
std::size_t plainBytes(std::uint64_t word) {
    constexpr std::uint64_t ones = 0x0101010101010101, highBits = ones << 7;
    std::uint64_t quotes = word ^ (ones * '"'), backslashes = word ^ (ones * '\\');
    std::uint64_t special =
        word | ((word - ones * ' ') & ~word) | ((quotes - ones) & ~quotes) | ((backslashes - ones) & ~backslashes);
    special &= highBits;
    if constexpr (std::endian::native == std::endian::little) return std::countr_zero(special) / 8;
    return special ? 0 : 8;
}

bool isPlain(unsigned char c) {
    return c >= ' ' && c < 0x80 && c != '"' && c != '\\';
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
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

std::string queueEntry(std::string_view identifier, bool pinned) {
    std::string text(head);
    text += boost::json::serialize(wellFormedUtf8(identifier));
    return text.append(middle).append(pinned ? yes : no);
}

std::size_t ownEntryLength(std::string_view text) {
    const char* at = text.data();
    const char* end = at + text.size();
    auto skip = [&](std::string_view expected) {
        if (static_cast<std::size_t>(end - at) < expected.size()) return false;
        if (std::memcmp(at, expected.data(), expected.size()) != 0) return false;
        at += expected.size();
        return true;
    };
    if (!skip(head) || !skip("\"")) return 0;
    at += plainLength({at, end});
    return skip("\"") && skip(middle) && (skip(yes) || skip(no)) ? at - text.data() : 0;
}

std::size_t ownEntriesLength(std::string_view text) {
    std::size_t length = ownEntryLength(text);
    for (std::size_t next = length; next != 0 && length < text.size() && text[length] == ',';) {
        next = ownEntryLength(text.substr(length + 1));
        if (next) length += 1 + next;
    }
    return length;
}

// The steps are local functions, each called once, so that the compiler inlines them and keeps their variables in
// registers.
std::size_t copySimpleObject(std::string_view text, char*& copy) {
    const char* at = text.data();
    const char* const end = at + text.size();
    char* to = copy;
    auto skipSpace = [&] {
        while (at != end && isSpace(*at)) ++at;
        return at != end;
    };
    auto takeOne = [&] { *to++ = *at++; };
    auto takeSome = [&](std::size_t length) {
        to = std::copy_n(at, length, to);
        at += length;
    };
    auto takeString = [&] {
        for (takeOne(); at != end; takeOne()) {
            for (std::uint64_t word; end - at >= 8;) {
                std::memcpy(&word, at, 8);
                std::memcpy(to, &word, 8);
                std::size_t plain = plainBytes(word);
                at += plain;
                to += plain;
                if (plain < 8) break;
            }
            if (at == end) return false;
            if (isPlain(*at)) continue;
            if (*at == '"') return true;
            std::size_t length = specialLength({at, end});
            if (length == 0) return false;
            takeSome(length - 1);
        }
        return false;
    };
    auto takeNumber = [&] {
        if (*at == '-') takeOne();
        const char* digits = at;
        while (at != end && isDigit(*at)) takeOne();
        if (at == digits || (*digits == '0' && at - digits > 1)) return false;
        if (at == end || *at != '.') return true;
        takeOne();
        digits = at;
        while (at != end && isDigit(*at)) takeOne();
        return at != digits;
    };
    auto takeWord = [&] {
        for (std::string_view word : {"true", "false", "null"}) {
            if (!std::string_view(at, end).starts_with(word)) continue;
            takeSome(word.size());
            return true;
        }
        return false;
    };

    if (at == end || *at != '{') return 0;
    takeOne();
    for (bool isKey = true; skipSpace(); isKey = !isKey) {
        if (*at == '"') {
            if (!takeString()) return 0;
            takeOne();
        } else if (isKey || !(*at == '-' || isDigit(*at) ? takeNumber() : takeWord())) {
            return 0;
        }
        if (!skipSpace()) return 0;
        if (*at == '}' && !isKey) {
            takeOne();
            copy = to;
            return at - text.data();
        }
        if (*at != (isKey ? ':' : ',')) return 0;
        takeOne();
    }
    return 0;
}

std::size_t plainLength(std::string_view text) {
    std::size_t length = 0;
    for (std::uint64_t word; text.size() - length >= 8;) {
        std::memcpy(&word, text.data() + length, 8);
        std::size_t plain = plainBytes(word);
        length += plain;
        if (plain < 8) break;
    }
    while (length < text.size() && isPlain(text[length])) ++length;
    return length;
}

}  // namespace tobrel
