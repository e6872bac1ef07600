#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "frontends/sheet/rows.h"
#include "frontends/terminal/field_edit.h"
#include "frontends/terminal/label_lines.h"

namespace tobrel::terminal {

enum class Style { plain, bold, dim, link, focus };

struct Span {
    std::string text;
    Style style = Style::plain;
    bool operator==(const Span&) const = default;
};

// One row of the terminal.
struct Line {
    std::vector<Span> spans;
    int indent = 0;
    // Continues the line above, which fills its row, so that the terminal knows the two as one.
    bool joined = false;
    bool operator==(const Line&) const = default;
};

struct Cursor {
    std::size_t line = 0;
    int column = 0;
    bool operator==(const Cursor&) const = default;
};

enum class Styling { plain, styled };

struct LayoutInput {
    int columns = 80;
    Styling styling = Styling::styled;
    // The control that has the focus, or null.
    const NSView* focus = nullptr;
    // The button that Enter presses, or null.
    const NSButton* entered = nullptr;
    // The focused control's text, where that is a field.
    FieldEdit edit;
    Note note;
};

struct SheetLines {
    std::vector<Line> lines;
    // The first line of the sheet's own row of buttons; lines.size() where it has none.
    std::size_t footer = 0;
    // The first and the last line of what scrolling counts: each row of a list, or each line where there is none.
    struct Extent {
        std::size_t first;
        std::size_t last;
    };
    std::vector<Extent> rows;
    // Of each control, in the order of controlsOf().
    std::vector<std::size_t> controlLines;
    // In the focused control.
    std::optional<Cursor> cursor;
};

// The sheet as the rows of a terminal, from its title to its buttons.
SheetLines layOut(const Rows& rows, const LayoutInput& input);

int columnsOf(const Line& line);

}  // namespace tobrel::terminal
