#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "platform/view.h"

// What all front ends share: the views of a sheet in reading order. Main thread only, as the views are.
namespace tobrel::sheet {

// One visible view that is no container. Exactly one of the pointers is set.
struct Piece {
    NSTextField* label = nullptr;
    NSTextField* field = nullptr;
    NSButton* button = nullptr;
    NSButton* checkBox = nullptr;
    NSPopUpButton* popUp = nullptr;

    bool isControl() const { return !label; }
    // False for a label.
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

// The sheet as it is read: rows from the top, each from the left; hidden views are left out. The pieces are valid until
// the sheet changes.
using Rows = std::vector<Row>;

Rows rowsOf(NSView& root);

std::vector<Piece> controlsOf(const Rows& rows);
// The place of a view among the controls; nothing where it is none of them.
std::optional<std::size_t> indexOf(const NSView* view, const std::vector<Piece>& controls);

}  // namespace tobrel::sheet
