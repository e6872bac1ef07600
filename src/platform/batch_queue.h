#pragma once

#include <any>
#include <functional>

namespace tobrel {

// Work off the main thread of which many pieces can share one reading of something.
class BatchQueue {
public:
    virtual ~BatchQueue() = default;
    // From any thread; always returns at once. Blocks run one after the other, in order, on a thread of the queue's
    // own. All that wait when it turns to them are one batch: what one of them leaves in `shared`, which is empty for
    // the first, the next ones find, and every one was queued before the first began. What is still queued when the
    // request has ended is dropped unrun.
    virtual void async(std::function<void(std::any& shared)> block) = 0;
};

}  // namespace tobrel
