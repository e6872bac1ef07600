#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frontends/sheet/rows.h"
#include "frontends/terminal/label_lines.h"

namespace tobrel::terminal {

// The whole sheet, its controls numbered from the top in the order of controlsOf(); `entered` is the button that an
// empty line presses, or null.
std::vector<std::string> numberedLines(const Rows& rows, int columns, const Note& note, const NSButton* entered);

// What a line asks for.
struct Instruction {
    // Of controlsOf(); nothing for a refused line.
    std::optional<std::size_t> control;
    // A field's new text.
    std::optional<std::string> text;
    // A pop-up's item.
    std::optional<int> item;
    // Why the line asks for nothing that could be done, in a sentence.
    std::string refusal;
};

Instruction instructionOf(std::string_view line, const Rows& rows, const NSButton* entered);

// For a person: what a line may say.
inline constexpr const char* lineHelp =
    "Type a number to press or switch, a number and a text to fill in or choose, or just Enter for the button marked "
    "so.";

}  // namespace tobrel::terminal
