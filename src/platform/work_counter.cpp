#include "platform/work_counter.h"

#include <cstddef>
#include <mutex>

#include "platform/main_queue.h"

namespace tobrel {

struct WorkCounter::State {
    explicit State(MainQueue& queue) : queue(queue) {}

    MainQueue& queue;
    std::mutex mutex;
    // Both guarded by mutex.
    std::size_t outstanding = 0;
    bool working = false;
};

WorkCounter::WorkCounter(MainQueue& queue) : state_(std::make_shared<State>(queue)) {}

WorkCounter::Token WorkCounter::begin() {
    {
        std::lock_guard lock(state_->mutex);
        ++state_->outstanding;
        state_->working = true;
    }
    return {nullptr, [state = state_](std::nullptr_t) {
                {
                    std::lock_guard lock(state->mutex);
                    if (--state->outstanding > 0) return;
                }
                state->queue.async([state] {
                    std::lock_guard lock(state->mutex);
                    if (state->outstanding == 0) state->working = false;
                });
            }};
}

bool WorkCounter::isWorking() const {
    std::lock_guard lock(state_->mutex);
    return state_->working;
}

}  // namespace tobrel
