#pragma once

#include <array>
#include <cstddef>

namespace tobrel::menu {

// What a command can be used on; the menu shows the others greyed.
enum class Rule { anything, oneItem, oneFolder };

struct Command {
    // As tobrel-action takes it.
    const char* word;
    const char* title;
    Rule rule;
    // Whether a window follows, which the desktop should put in front.
    bool opensWindow;
};

inline constexpr std::array<Command, 6> commands{{
    {"keep", "Make available offline", Rule::anything, false},
    {"unkeep", "Make online-only", Rule::anything, false},
    {"share", "Share link", Rule::anything, true},
    {"share-with", "Share with a user", Rule::oneFolder, true},
    {"manage", "Manage sharing", Rule::oneFolder, true},
    {"online", "View online", Rule::oneItem, true},
}};

// The command of that word, or null.
const Command* commandOf(const char* word);

// Whether it can be used on that many selected items, of which the first may be a folder.
bool applies(const Command& command, std::size_t items, bool firstIsFolder);

}  // namespace tobrel::menu
