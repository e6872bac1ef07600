#pragma once

#include <cstddef>
#include <string>

#include "frontends/terminal/keys.h"

namespace tobrel::terminal {

// A one-line field's text while it is edited.
struct FieldEdit {
    std::string text;
    // In bytes, between two characters.
    std::size_t cursor = 0;
    // The whole text is selected, as after entering a field: what is typed replaces it.
    bool selected = false;
    bool operator==(const FieldEdit&) const = default;
};

// A field as it is on entering it.
FieldEdit entered(std::string text);

// Performs an editing key; false for a key that edits nothing.
bool edit(FieldEdit& field, const KeyPress& press);

struct FieldWindow {
    std::string shown;
    int cursorColumn = 0;
};

// The part of the text around the cursor that fits, harmless and padded to the columns. The cursor has a column of its
// own.
FieldWindow windowOf(const FieldEdit& field, int columns);

}  // namespace tobrel::terminal
