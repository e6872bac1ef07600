#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/batch_queue.h"

namespace tobrel {

// One thread, started with the first block.
class ThreadBatchQueue : public BatchQueue {
public:
    ~ThreadBatchQueue() override { end(); }
    void async(std::function<void(std::any& shared)> block) override;
    // Waits for the block that runs; the others are dropped, now and later. On another thread than the queue's.
    void end();

private:
    using Blocks = std::vector<std::function<void(std::any&)>>;
    void run();
    bool takeBatch(Blocks& batch);

    std::mutex mutex_;
    std::condition_variable wake_;
    Blocks waiting_;      // guarded by mutex_
    bool ended_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace tobrel
