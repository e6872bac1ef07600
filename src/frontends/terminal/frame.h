#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "frontends/terminal/sheet_lines.h"

namespace tobrel::terminal {

struct TerminalSize {
    int columns = 80;
    int rows = 24;
    bool operator==(const TerminalSize&) const = default;
};

// What stands on the terminal: never more lines than it has rows.
struct Frame {
    std::vector<Line> lines;
    // Hidden where no control has the focus.
    std::optional<Cursor> cursor;
    // How many lines of the sheet's body are shown, from which one on.
    std::size_t bodyLines = 0;
    std::size_t scroll = 0;
    // Where scrolling ends.
    std::size_t mostScroll = 0;
    bool operator==(const Frame&) const = default;
};

// Whether the sheet is taller than the terminal.
bool scrolls(const SheetLines& sheet, const TerminalSize& size);

// The sheet with its hint below; where it is taller than the terminal, its body scrolls (starting from `scroll`) so
// that the focused control is visible, and its row of buttons stays.
Frame compose(const SheetLines& sheet, const std::string& hint, const TerminalSize& size, std::size_t scroll);

// The lines as bytes, from the cursor's line downwards; the cursor is left at the end of the last one.
std::string encoded(const std::vector<Line>& lines, Styling styling);

// How many rows the cursor stands below the frame's first after the terminal has been made that wide.
int rowsAbove(const Frame& frame, int columns);
// How many rows the whole frame takes then.
int rowsTaken(const Frame& frame, int columns);

}  // namespace tobrel::terminal
