#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>

#include "frontends/terminal/label_lines.h"
#include "frontends/terminal/terminal_environment.h"

namespace tobrel {
class MainLoop;
}

namespace tobrel::terminal {

// The sequence that asks a terminal to take the text for its clipboard; nothing where it is longer than terminals take.
std::optional<std::string> clipboardSequence(std::string_view text);

// The clipboard of whoever sits before the terminal: through tmux where the program runs inside it, else through the
// terminal that shows the output. Main thread only.
class Clipboard {
public:
    Clipboard(int output, TerminalEnvironment environment);
    ~Clipboard();
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;

    // Never waits; the loop hears when tmux has answered.
    void set(const std::string& text, MainLoop& loop);
    // Gives tmux a last moment.
    void finish();
    // How far the text has got, in a sentence; empty while that is open.
    const Note& note() const { return note_; }

private:
    bool sendToTerminal() const;
    bool startTmux(MainLoop& loop);
    void takeAnswer();

    const int output_;
    const TerminalEnvironment environment_;
    MainLoop* loop_ = nullptr;
    pid_t process_ = 0;
    int processDescriptor_ = -1;
    Note note_;
};

}  // namespace tobrel::terminal
