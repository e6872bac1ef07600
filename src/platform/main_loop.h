#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "platform/main_queue.h"

namespace tobrel {

// Destroying it cancels its handler; that may happen inside the handler and after the loop's own end.
class Timer {
public:
    virtual ~Timer() = default;
};

// The main thread's loop: the main queue, and what the host and its front end wait for. Main thread only, but for
// async().
class MainLoop : public MainQueue {
public:
    // The handler runs when the descriptor can be read without waiting, or has ended. One handler a descriptor.
    virtual void watchInput(int descriptor, std::function<void()> readable) = 0;
    virtual void unwatchInput(int descriptor) = 0;
    // Runs the handler once, after the delay. Several timers may run at a time.
    [[nodiscard]] virtual std::unique_ptr<Timer> startTimer(std::chrono::milliseconds delay,
                                                            std::function<void()> handler) = 0;
    // The handler runs when run() starts and after every block, input handler and timer, each time once the main queue
    // has run dry and before the loop waits. It may queue further blocks, after which it runs again.
    virtual void setDryHandler(std::function<void()> handler) = 0;
    // Runs blocks, handlers and timers until stop() has been called; nothing more runs then. Each stop() ends one
    // run().
    virtual void run() = 0;
    virtual void stop() = 0;
};

}  // namespace tobrel
