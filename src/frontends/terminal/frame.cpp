#include "frontends/terminal/frame.h"

#include <algorithm>

#include "frontends/terminal/text_width.h"

namespace tobrel::terminal {

namespace {

const char* codeOf(Style style) {
    switch (style) {
        case Style::bold:
            return "\x1B[1m";
        case Style::dim:
            return "\x1B[2m";
        case Style::link:
            return "\x1B[4;36m";
        case Style::focus:
            return "\x1B[7m";
        case Style::plain:
            break;
    }
    return "";
}

Line dimLine(const std::string& text, int columns) {
    int indent = columns >= 40 ? 2 : 0;
    return {{{fitted(text, columns - 1 - indent, 1).front(), Style::dim}}, indent};
}

// How many of the sheet's rows are not wholly among the shown lines.
std::string scrollInfo(const std::vector<SheetLines::Extent>& rows, std::size_t first, std::size_t end) {
    std::string info;
    auto above = std::count_if(rows.begin(), rows.end(), [&](auto& row) { return row.first < first; });
    auto below =
        std::count_if(rows.begin(), rows.end(), [&](auto& row) { return row.first >= first && row.last >= end; });
    if (above > 0) info += "↑ " + std::to_string(above) + " more";
    if (above > 0 && below > 0) info += "   ";
    if (below > 0) info += "↓ " + std::to_string(below) + " more";
    return info;
}

std::size_t scrolledTo(const SheetLines& sheet, std::size_t body, std::size_t height, std::size_t scroll) {
    if (sheet.cursor && sheet.cursor->line < body) {
        std::size_t line = sheet.cursor->line;
        bool isFirstControl = line == sheet.controlLines.front();
        if (isFirstControl && line < height) return 0;
        if (line < scroll) scroll = line;
        if (line >= scroll + height) scroll = line - height + 1;
    }
    return std::min(scroll, body - height);
}

void append(std::vector<Line>& lines, const std::vector<Line>& source, std::size_t first, std::size_t count) {
    auto start = source.begin() + static_cast<std::ptrdiff_t>(first);
    lines.insert(lines.end(), start, start + static_cast<std::ptrdiff_t>(count));
}

Frame whole(const SheetLines& sheet, const std::string& hint, const TerminalSize& size) {
    Frame frame;
    frame.bodyLines = sheet.footer;
    frame.lines.emplace_back();
    append(frame.lines, sheet.lines, 0, sheet.lines.size());
    frame.lines.emplace_back();
    frame.lines.push_back(dimLine(hint, size.columns));
    frame.cursor = sheet.cursor;
    if (frame.cursor) ++frame.cursor->line;
    return frame;
}

// `kept` lines stand below the scrolling ones, with a line between that says what is out of sight.
Frame scrolling(const SheetLines& sheet, std::size_t body, const std::vector<Line>& kept, const TerminalSize& size,
                std::size_t scroll) {
    Frame frame;
    auto rows = static_cast<std::size_t>(size.rows);
    std::size_t height = std::min(body, rows - (kept.empty() ? 0 : kept.size() + 1));
    frame.bodyLines = height;
    frame.mostScroll = body - height;
    frame.scroll = scrolledTo(sheet, body, height, scroll);
    append(frame.lines, sheet.lines, frame.scroll, height);
    if (!kept.empty()) {
        frame.lines.push_back(dimLine(scrollInfo(sheet.rows, frame.scroll, frame.scroll + height), size.columns));
        append(frame.lines, kept, 0, kept.size());
    }
    if (!sheet.cursor) return frame;
    std::size_t line = sheet.cursor->line;
    if (line >= frame.scroll && line < frame.scroll + height)
        frame.cursor = {line - frame.scroll, sheet.cursor->column};
    else if (line >= body)
        frame.cursor = {line - sheet.footer + height + 1, sheet.cursor->column};
    return frame;
}

}  // namespace

bool scrolls(const SheetLines& sheet, const TerminalSize& size) {
    constexpr std::size_t linesAround = 3;
    return sheet.lines.size() + linesAround > static_cast<std::size_t>(size.rows);
}

Frame compose(const SheetLines& sheet, const std::string& hint, const TerminalSize& size, std::size_t scroll) {
    auto rows = static_cast<std::size_t>(size.rows);
    if (!scrolls(sheet, size)) return whole(sheet, hint, size);

    std::size_t body = sheet.footer;
    // The blank line that sets the buttons off gives way to the one about scrolling.
    if (body > 0 && body < sheet.lines.size() && sheet.lines[body - 1].spans.empty()) --body;
    std::vector<Line> kept;
    append(kept, sheet.lines, sheet.footer, sheet.lines.size() - sheet.footer);
    constexpr std::size_t fewestBodyLines = 3;
    if (body == 0 || kept.size() + 1 + fewestBodyLines > rows)
        return scrolling(sheet, sheet.lines.size(), {}, size, scroll);
    if (kept.size() + 2 + fewestBodyLines <= rows) kept.push_back(dimLine(hint, size.columns));
    return scrolling(sheet, body, kept, size, scroll);
}

std::string encoded(const std::vector<Line>& lines, Styling styling) {
    std::string bytes;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0 && !lines[i].joined) bytes += "\r\n";
        bytes.append(static_cast<std::size_t>(lines[i].indent), ' ');
        for (auto& span : lines[i].spans) {
            bool styled = styling == Styling::styled && span.style != Style::plain && !span.text.empty();
            if (styled) bytes += codeOf(span.style);
            bytes += span.text;
            if (styled) bytes += "\x1B[0m";
        }
    }
    return bytes;
}

int rowsAbove(const Frame& frame, int columns) {
    if (frame.lines.empty()) return 0;
    std::size_t cursorLine = frame.cursor ? frame.cursor->line : frame.lines.size() - 1;
    int cursorColumn = frame.cursor ? frame.cursor->column : columnsOf(frame.lines.back());
    int rows = 0;
    int logical = 0;
    for (std::size_t i = 0; i <= cursorLine; ++i) {
        if (i > 0 && !frame.lines[i].joined) {
            rows += std::max(1, (logical + columns - 1) / columns);
            logical = 0;
        }
        logical += i == cursorLine ? cursorColumn : columnsOf(frame.lines[i]);
    }
    return rows + logical / columns;
}

int rowsTaken(const Frame& frame, int columns) {
    Frame whole{frame.lines, std::nullopt};
    return whole.lines.empty() ? 0 : rowsAbove(whole, columns) + 1;
}

}  // namespace tobrel::terminal
