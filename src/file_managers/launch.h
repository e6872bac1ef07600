#pragma once

#include <functional>
#include <string>

#include "file_managers/commands.h"

namespace tobrel::menu {

// tobrel-action in the bin folder of the installation that the file belongs to, else by its name alone.
std::string actionProgram(const std::string& file);

struct Launch {
    std::string program;
    // Paths, each followed by NUL.
    std::string items;
    // What lets the command's window come to the front; may be empty.
    std::string activationToken;
};

// Starts the command and returns at once. What it could not begin, or left unanswered, becomes a notification on the
// desktop, on the main context's thread; then `ended` is called.
void launch(const Command& command, const Launch& launch, std::function<void()> ended = {});

}  // namespace tobrel::menu
