#include "frontends/terminal/text_width.h"

#include <locale.h>
#include <wchar.h>

#include <algorithm>

#include "text/utf8.h"

namespace tobrel::terminal {

namespace {

constexpr char32_t zeroWidthJoiner = 0x200D;

// wcwidth() knows no more than ASCII in the C locale, and a terminal reached from there still shows UTF-8.
int columnsInUtf8(char32_t character) {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
    const locale_t former = uselocale(utf8);
    int columns = wcwidth(static_cast<wchar_t>(character));
    uselocale(former);
    return columns < 0 ? 1 : columns;
}

struct Measured {
    std::size_t bytes = 0;
    int columns = 0;
};

int columnsOfCodePoint(char32_t character) {
    constexpr char32_t firstCombining = 0x300;
    return character < firstCombining ? 1 : columnsInUtf8(character);
}

bool isAscii(char byte) {
    return (byte & 0x80) == 0;
}

Measured measureFirst(std::string_view text) {
    // Most text, in long lists, too.
    if (text.size() > 1 && isAscii(text[0]) && isAscii(text[1])) return {1, 1};
    Measured measured;
    bool joined = false;
    while (measured.bytes < text.size()) {
        CodePoint next = firstCodePoint(text.substr(measured.bytes));
        char32_t character = next.value.value_or(0xFFFD);
        int columns = columnsOfCodePoint(character);
        if (measured.bytes > 0 && columns > 0 && !joined) break;
        measured.bytes += next.length;
        measured.columns = std::max(measured.columns, columns);
        joined = character == zeroWidthJoiner;
    }
    return measured;
}

Measured measurePrefix(std::string_view text, int columns) {
    Measured prefix;
    while (prefix.bytes < text.size()) {
        Measured next = measureFirst(text.substr(prefix.bytes));
        if (prefix.columns + next.columns > columns) break;
        prefix.bytes += next.bytes;
        prefix.columns += next.columns;
    }
    return prefix;
}

std::string middleTruncated(std::string_view text, int columns) {
    if (columnsOf(text) <= columns) return std::string(text);
    if (columns < 1) return "";
    auto head = prefixWithin(text, columns / 2);
    auto tail = suffixWithin(text, columns - 1 - columnsOf(head));
    return std::string(head) + "…" + std::string(tail);
}

std::string_view withoutSpacesAtEnd(std::string_view text) {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::vector<std::string> wrapped(std::string_view text, int columns) {
    std::vector<std::string> lines;
    while (true) {
        std::size_t fitting = prefixWithin(text, columns).size();
        if (fitting == text.size()) break;
        std::size_t space = text.rfind(' ', fitting);
        bool breakable = space != std::string_view::npos && text.find_first_not_of(' ') < space;
        std::size_t cut = breakable ? space : std::max(fitting, firstCharacter(text));
        lines.emplace_back(withoutSpacesAtEnd(text.substr(0, cut)));
        text.remove_prefix(std::min(text.find_first_not_of(' ', cut), text.size()));
        if (text.empty()) return lines;
    }
    lines.emplace_back(text);
    return lines;
}

}  // namespace

int columnsOf(std::string_view text) {
    int columns = 0;
    while (!text.empty()) {
        Measured next = measureFirst(text);
        columns += next.columns;
        text.remove_prefix(next.bytes);
    }
    return columns;
}

std::size_t firstCharacter(std::string_view text) {
    return measureFirst(text).bytes;
}

std::size_t lastCharacter(std::string_view text) {
    std::size_t last = 0;
    while (!text.empty()) {
        last = measureFirst(text).bytes;
        text.remove_prefix(last);
    }
    return last;
}

std::string_view prefixWithin(std::string_view text, int columns) {
    return text.substr(0, measurePrefix(text, columns).bytes);
}

std::string_view suffixWithin(std::string_view text, int columns) {
    int surplus = columnsOf(text) - columns;
    while (surplus > 0) {
        Measured next = measureFirst(text);
        surplus -= next.columns;
        text.remove_prefix(next.bytes);
    }
    return text;
}

std::vector<std::string> fitted(std::string_view text, int columns, int maximumLines) {
    columns = std::max(columns, 1);
    auto lines = wrapped(text, columns);
    auto tooMany = [&] { return maximumLines > 0 && lines.size() > static_cast<std::size_t>(maximumLines); };
    // Breaking at spaces wastes columns, so that the first try may still need a line too many.
    for (int room = columns * std::max(maximumLines, 1); tooMany() && room > 0; room -= columns / 4 + 1)
        lines = wrapped(middleTruncated(text, room), columns);
    return lines;
}

std::string padded(std::string text, int columns) {
    int missing = columns - columnsOf(text);
    if (missing > 0) text.append(static_cast<std::size_t>(missing), ' ');
    return text;
}

}  // namespace tobrel::terminal
