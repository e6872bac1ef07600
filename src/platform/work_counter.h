#pragma once

#include <memory>

namespace tobrel {

class MainQueue;

// Whether anything that has been asked for is still outstanding, as the main thread knows it. Lives at most as long
// as the queue.
class WorkCounter {
public:
    explicit WorkCounter(MainQueue& queue);

    // Work is outstanding as long as the token lives. Any thread, the token's end as well.
    using Token = std::shared_ptr<const void>;
    Token begin();

    // Main thread only. Turns false in a block of the main queue, behind all that the work itself has queued.
    bool isWorking() const;

private:
    struct State;
    const std::shared_ptr<State> state_;
};

}  // namespace tobrel
