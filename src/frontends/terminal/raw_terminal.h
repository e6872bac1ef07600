#pragma once

#include <termios.h>

#include <string_view>

#include "frontends/terminal/frame.h"
#include "platform/file_descriptor.h"

namespace tobrel::terminal {

// 80 x 24 where the terminal does not say.
TerminalSize sizeOfTerminal(int descriptor);

// Writes it whole; gives up where nobody reads or nothing more is taken for a few seconds.
bool showOn(int terminal, std::string_view bytes);

// A terminal that gives every key at once and shows nothing by itself, restored when this ends and before a signal
// ends the process. What the process writes to standard error, where that is the same terminal, is held back until
// then, 64 KiB of it. One at a time. Main thread only.
class RawTerminal {
public:
    RawTerminal(int input, int output);
    ~RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

    // Readable when the terminal has another size, or the job is to stop or has been continued.
    int eventDescriptor() const;
    struct Events {
        bool resized = false;
        bool stopping = false;
        bool continued = false;
    };
    Events takeEvents();

    // Stops the job as its shell expects it; returns once it has been continued.
    void stopJob();
    // Again after the job was continued.
    void enter();

private:
    void leave();
    void holdErrors();

    const int input_;
    const int output_;
    Pipe events_;
    Pipe heldErrors_;
    FileDescriptor errors_;
    termios raw_;
};

}  // namespace tobrel::terminal
