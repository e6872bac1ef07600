#pragma once

#include <csignal>

#include "platform/end_signals.h"
#include "platform/file_descriptor.h"

namespace tobrel {

class MainLoop;

sigset_t endSignals();
// For this thread and those that it starts.
void blockEndSignals();

// SIGINT, SIGTERM and SIGHUP, taken by a descriptor on the loop. To be made before the process's first other thread.
class LinuxEndSignals : public EndSignals {
public:
    explicit LinuxEndSignals(MainLoop& loop) noexcept;
    ~LinuxEndSignals() override;
    void setHandler(std::function<void()> handler) override;

private:
    MainLoop& loop_;
    // Open while there is a handler.
    FileDescriptor descriptor_;
};

}  // namespace tobrel
