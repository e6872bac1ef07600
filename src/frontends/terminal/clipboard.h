#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "frontends/terminal/label_lines.h"
#include "frontends/terminal/mode.h"

namespace tobrel::terminal {

// The sequence that asks a terminal to take the text for its clipboard; nothing where it is longer than terminals take.
std::optional<std::string> clipboardSequence(std::string_view text);

// The clipboard of whoever sits before the terminal: through tmux where the program runs inside it, else through the
// terminal that shows the output. Main thread only.
class Clipboard {
public:
    Clipboard(int output, TerminalEnvironment environment);

    // Waits for tmux, a second at most.
    void set(const std::string& text);
    // How far the text has got, in a sentence.
    const Note& note() const { return note_; }

private:
    bool sendToTerminal() const;

    const int output_;
    const TerminalEnvironment environment_;
    Note note_;
};

}  // namespace tobrel::terminal
