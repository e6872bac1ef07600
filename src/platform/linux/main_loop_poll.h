#pragma once

#include <deque>
#include <map>
#include <mutex>

#include "platform/file_descriptor.h"
#include "platform/main_loop.h"

namespace tobrel {

// One poll() over the watched descriptors and an eventfd; no thread of its own. Descriptors of every kind can be
// watched; one that has ended or is closed keeps calling its handler until it is unwatched.
// Blocks that are queued until destruction and have not run by then are dropped.
class PollMainLoop : public MainLoop {
public:
    // Throws std::system_error where the process may open no further descriptor.
    PollMainLoop();
    ~PollMainLoop() override;
    PollMainLoop(const PollMainLoop&) = delete;
    PollMainLoop& operator=(const PollMainLoop&) = delete;

    void async(std::function<void()> block) override;
    void watchInput(int descriptor, std::function<void()> readable) override;
    void unwatchInput(int descriptor) override;
    std::unique_ptr<Timer> startTimer(std::chrono::milliseconds delay, std::function<void()> handler) override;
    void setDryHandler(std::function<void()> handler) override;
    void run() override;
    void stop() override { stopped_ = true; }

private:
    using Clock = std::chrono::steady_clock;
    // Shared, because a handler may unwatch or replace itself while it runs.
    using Handler = std::shared_ptr<const std::function<void()>>;

    std::function<void()> nextBlock();
    bool runBlocks();
    bool waitAndHandle();
    bool runDueTimers();
    int millisecondsToWait();

    const FileDescriptor wakeDescriptor_;
    std::map<int, Handler> inputs_;
    // A handler belongs to its Timer, and has expired with it.
    std::multimap<Clock::time_point, std::weak_ptr<const std::function<void()>>> timers_;
    Handler dryHandler_;
    bool stopped_ = false;

    std::mutex mutex_;
    std::deque<std::function<void()>> blocks_;  // guarded by mutex_
};

}  // namespace tobrel
