#pragma once

#include <chrono>
#include <functional>

#include "platform/main_queue.h"

namespace tobrel {

// The main thread's loop: the main queue, and what the host and its front end wait for. Main thread only, but for
// async().
class MainLoop : public MainQueue {
public:
    // The handler runs when the descriptor can be read without waiting, or has ended. One handler a descriptor.
    virtual void watchInput(int descriptor, std::function<void()> readable) = 0;
    virtual void unwatchInput(int descriptor) = 0;
    // Runs the handler once after the delay, unless another call replaces or (with no handler) cancels it first.
    virtual void setTimer(std::chrono::milliseconds delay, std::function<void()> handler) = 0;
    // The handler runs each time the main queue has run dry; it may queue further blocks.
    virtual void setDryHandler(std::function<void()> handler) = 0;
    // Runs blocks, handlers and timers until stop() has been called.
    virtual void run() = 0;
    virtual void stop() = 0;
};

}  // namespace tobrel
