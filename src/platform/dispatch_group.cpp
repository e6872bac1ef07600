#include <mutex>
#include <utility>

#include "platform/main_queue.h"

namespace tobrel {

struct DispatchGroup::State {
    std::mutex mutex;
    std::size_t outstanding = 0;
    MainQueue* queue = nullptr;
    std::function<void()> block;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() {
    std::lock_guard lock(state_->mutex);
    ++state_->outstanding;
}

void DispatchGroup::leave() {
    std::function<void()> block;
    {
        std::lock_guard lock(state_->mutex);
        if (--state_->outstanding > 0 || !state_->block) return;
        block = std::exchange(state_->block, nullptr);
    }
    state_->queue->async(std::move(block));
}

void DispatchGroup::notify(MainQueue& queue, std::function<void()> block) {
    {
        std::lock_guard lock(state_->mutex);
        if (state_->outstanding > 0) {
            state_->queue = &queue;
            state_->block = std::move(block);
            return;
        }
    }
    queue.async(std::move(block));
}

}  // namespace tobrel
