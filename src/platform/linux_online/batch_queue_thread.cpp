#include "platform/linux_online/batch_queue_thread.h"

#include <pthread.h>

#include <csignal>
#include <utility>

#include "platform/linux_online/memory/secret_memory.h"

namespace tobrel {

void ThreadBatchQueue::async(std::function<void(std::any& shared)> block) {
    std::lock_guard lock(mutex_);
    if (ended_) return;
    waiting_.push_back(std::move(block));
    if (!thread_.joinable())
        thread_ = std::thread([this] { run(); });
    else if (waiting_.size() == 1)
        wake_.notify_one();
}

void ThreadBatchQueue::end() {
    Blocks dropped;
    {
        std::lock_guard lock(mutex_);
        ended_ = true;
        dropped.swap(waiting_);
    }
    wake_.notify_one();
    dropped.clear();
    if (thread_.joinable()) thread_.join();
}

void ThreadBatchQueue::run() {
    // Signals are the main thread's.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    for (Blocks batch; takeBatch(batch); batch.clear()) {
        std::any shared;
        for (auto& block : batch) {
            {
                std::lock_guard lock(mutex_);
                if (ended_) return;
            }
            std::exchange(block, nullptr)(shared);
        }
        // Their work may have been with secrets.
        shared.reset();
        wipeStack();
    }
}

bool ThreadBatchQueue::takeBatch(Blocks& batch) {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return ended_ || !waiting_.empty(); });
    batch.swap(waiting_);
    return !ended_;
}

}  // namespace tobrel
