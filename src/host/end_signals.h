#pragma once

#include <csignal>
#include <functional>

namespace tobrel {
class MainLoop;
}

namespace tobrel::host {

// The signals that ask the program to end.
sigset_t endSignals();
// Blocks them for this thread and those that it starts. Before the first thread.
void blockEndSignals();
// From now on each ends the process again.
void unblockEndSignals();

// While it lives, the handler runs on the main loop at each of them. They must be blocked.
class EndSignals {
public:
    EndSignals(MainLoop& loop, std::function<void()> handler);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

private:
    MainLoop& loop_;
    const int descriptor_;
};

}  // namespace tobrel::host
