#pragma once

#include <string>

namespace tobrel {

// What the terminal front end takes from the process's environment.
struct TerminalEnvironment {
    // TERM
    std::string term;
    // NO_COLOR is set and not empty.
    bool noColor = false;
    // TMUX is set and not empty.
    bool insideTmux = false;
    // The path under which a process finds its controlling terminal.
    std::string controllingTerminal = "/dev/tty";

    static TerminalEnvironment ofProcess();
    // Whether the terminal, if there is one, takes more than plain text.
    bool takesEscapeSequences() const { return !term.empty() && term != "dumb"; }
};

}  // namespace tobrel
