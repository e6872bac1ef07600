#pragma once

#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "frontends/sheet/rows.h"

namespace tobrel::terminal {

using sheet::Piece;
using sheet::Row;
using sheet::Rows;

// Where lines have no end: output that is no terminal.
inline constexpr int unlimitedColumns = std::numeric_limits<int>::max() / 1024;

// A label's text as lines, harmless. A line that is an address is never broken or shortened: it may be wider.
std::vector<std::string> linesOf(const NSTextField& label, int columns);
// The same in one line, for a label beside other views.
std::string lineOf(const NSTextField& label, int columns);

bool isAddress(std::string_view line);

// A line of this front end's own above the label that has `about` as one of its lines: what the label claims is to be
// read in its light.
struct Note {
    std::string about;
    std::string text;
};
bool belongsTo(const Note& note, const NSTextField& label);
std::vector<std::string> linesWithNote(const NSTextField& label, int columns, const Note& note);

// What the sheet says, with the note, without its controls and the labels beside them that only name them.
std::vector<std::string> messageLines(const Rows& rows, int columns, const Note& note);

}  // namespace tobrel::terminal
