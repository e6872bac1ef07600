#pragma once

#include <functional>
#include <memory>

namespace tobrel {

class MainQueue {
public:
    virtual ~MainQueue() = default;
    // From any thread; always returns at once. Blocks run on the main thread, one after the other, in the order
    // in which they were queued. What is still queued when the request has ended is dropped unrun.
    virtual void async(std::function<void()> block) = 0;
};

// Counts work that is still outstanding. Copies share one count. Any thread.
class DispatchGroup {
public:
    DispatchGroup();
    void enter();
    void leave();
    // Queues the block on the main queue once the count is zero, at once where it is already. One block a group.
    void notify(MainQueue& queue, std::function<void()> block);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace tobrel
