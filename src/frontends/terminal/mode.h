#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frontends/sheet/rows.h"

namespace tobrel {
class MainLoop;
class Sheet;

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

namespace tobrel::terminal {

class Clipboard;

// What both ways of working use. Outlives them.
struct Terminal {
    // -1: there is none.
    int input;
    // Where the sheet goes.
    int output;
    // Where the request's result goes: the same, or what is no terminal while the sheet is on one.
    int result;
    TerminalEnvironment environment;
    Clipboard& clipboard;
    Sheet& sheet;
    MainLoop& loop;
};

// What is left to be read when the request has ended.
struct Ending {
    std::vector<std::string> lines;
    // For a result that goes elsewhere than the sheet.
    std::vector<std::string> result;
    // The lines are no part of the sheet.
    bool isRemark = false;
};
// `unanswered` is said where it is not empty; `unopened` is an address that no browser took.
Ending endingOf(const Terminal& terminal, const sheet::Rows& rows, int columns, const std::string& unanswered,
                const std::optional<std::string>& unopened);
void writeResult(const Terminal& terminal, const Ending& ending);

// How the sheet is shown and answered: line by line, or drawn on the screen. Main thread only.
class Mode {
public:
    virtual ~Mode() = default;
    virtual void appear() = 0;
    virtual void mainQueueRanDry(bool changed) = 0;
    virtual void beeped() = 0;
    enum class End { completed, cancelled };
    // Leaves what stays to be read; `changed` when the sheet is not as it was when the main queue last ran dry.
    virtual void requestEnded(End end, const std::optional<std::string>& unopened, bool changed) = 0;
};

}  // namespace tobrel::terminal
