#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/view.h"

namespace tobrel::terminal {

// One visible view of the sheet that is no container. Exactly one of the pointers is set.
struct Piece {
    NSTextField* label = nullptr;
    NSTextField* field = nullptr;
    NSButton* button = nullptr;
    NSButton* checkBox = nullptr;
    NSPopUpButton* popUp = nullptr;

    bool isControl() const { return !label; }
    bool isEnabled() const;
    NSView& view() const;
};

struct Row {
    std::vector<Piece> pieces;
    // Set off from the row before by a blank line.
    bool apart = false;
    // Of the sheet's own row of buttons at its lower edge.
    bool footer = false;
};

// The sheet in reading order: rows from the top, each from the left. The pieces are valid until the sheet changes.
using Rows = std::vector<Row>;

Rows rowsOf(NSView& root);

std::vector<Piece> controlsOf(const Rows& rows);
// The visible, enabled button that Return presses, or null.
NSButton* defaultButton(const Rows& rows);
std::optional<std::size_t> indexOf(const NSView* view, const std::vector<Piece>& controls);

// Keeps the button alive while its action runs, which may take it off the sheet.
void press(NSButton& button);

// Nothing to answer yet: a progress line stands, or an empty one where nothing was shown before, or a button has been
// pressed and still waits.
bool isWaiting(const Rows& rows, bool somethingWasShown);

}  // namespace tobrel::terminal
