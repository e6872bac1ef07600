#pragma once

#include <optional>
#include <string>

#include "frontends/terminal/terminal_environment.h"

namespace tobrel {
class MainLoop;
class Sheet;
}  // namespace tobrel

namespace tobrel::terminal {

class Clipboard;

// What both ways of working use. Outlives them.
struct Terminal {
    // -1: there is none.
    int input;
    int output;
    TerminalEnvironment environment;
    Clipboard& clipboard;
    Sheet& sheet;
    MainLoop& loop;
};

// Said before an address that has to be opened by hand.
inline constexpr const char* noBrowser = "No browser can be started from here. Please open this address:";

// How the sheet is shown and answered: line by line, or drawn on the screen. Main thread only.
class Mode {
public:
    virtual ~Mode() = default;
    virtual void appear() = 0;
    virtual void mainQueueRanDry(bool changed) = 0;
    virtual void beeped() = 0;
    enum class End { completed, cancelled };
    // What stays to be read; `unopened` is an address that no browser took, which is said instead of the sheet's text.
    virtual void requestEnded(End end, const std::optional<std::string>& unopened) = 0;
};

}  // namespace tobrel::terminal
