#include "platform/linux/main_loop_poll.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <utility>
#include <vector>

namespace tobrel {

namespace {

class PollTimer : public Timer {
public:
    explicit PollTimer(std::function<void()> handler)
        : handler_(std::make_shared<const std::function<void()>>(std::move(handler))) {}
    const std::shared_ptr<const std::function<void()>>& handler() const { return handler_; }

private:
    const std::shared_ptr<const std::function<void()>> handler_;
};

constexpr std::chrono::milliseconds longestDelay = std::chrono::hours(24 * 365);

}  // namespace

PollMainLoop::PollMainLoop() : wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!wakeDescriptor_) throw std::system_error(errno, std::generic_category(), "eventfd");
}

PollMainLoop::~PollMainLoop() {
    // Outside the lock, and again: what a block captured may queue further blocks while it is destroyed.
    while (nextBlock()) continue;
}

void PollMainLoop::async(std::function<void()> block) {
    std::lock_guard lock(mutex_);
    blocks_.push_back(std::move(block));
    if (blocks_.size() > 1) return;
    // Under the lock, so that whoever empties the queue before destruction knows this call to be over.
    const std::uint64_t one = 1;
    [[maybe_unused]] ssize_t written = write(wakeDescriptor_.number(), &one, sizeof one);
}

void PollMainLoop::watchInput(int descriptor, std::function<void()> readable) {
    inputs_[descriptor] = std::make_shared<const std::function<void()>>(std::move(readable));
}

void PollMainLoop::unwatchInput(int descriptor) {
    inputs_.erase(descriptor);
}

std::unique_ptr<Timer> PollMainLoop::startTimer(std::chrono::milliseconds delay, std::function<void()> handler) {
    auto timer = std::make_unique<PollTimer>(std::move(handler));
    timers_.emplace(Clock::now() + std::min(delay, longestDelay), timer->handler());
    return timer;
}

void PollMainLoop::setDryHandler(std::function<void()> handler) {
    dryHandler_ = handler ? std::make_shared<const std::function<void()>>(std::move(handler)) : nullptr;
}

void PollMainLoop::run() {
    bool worked = true;
    while (!stopped_) {
        worked |= runBlocks();
        if (stopped_) break;
        if (std::exchange(worked, false)) {
            if (Handler handler = dryHandler_) (*handler)();
            // The handler may have queued blocks, or stopped the loop.
            continue;
        }
        worked = waitAndHandle();
    }
    stopped_ = false;
}

std::function<void()> PollMainLoop::nextBlock() {
    std::lock_guard lock(mutex_);
    if (blocks_.empty()) return nullptr;
    auto block = std::move(blocks_.front());
    blocks_.pop_front();
    return block;
}

bool PollMainLoop::runBlocks() {
    bool worked = false;
    while (!stopped_) {
        auto block = nextBlock();
        if (!block) break;
        block();
        worked = true;
    }
    return worked;
}

bool PollMainLoop::waitAndHandle() {
    std::vector<pollfd> descriptors = {{wakeDescriptor_.number(), POLLIN, 0}};
    std::vector<Handler> handlers = {nullptr};
    for (auto& [descriptor, handler] : inputs_) {
        descriptors.push_back({descriptor, POLLIN, 0});
        handlers.push_back(handler);
    }
    if (poll(descriptors.data(), descriptors.size(), millisecondsToWait()) < 0) return false;

    bool worked = false;
    if (descriptors[0].revents) {
        std::uint64_t count;
        [[maybe_unused]] ssize_t got = read(wakeDescriptor_.number(), &count, sizeof count);
    }
    for (std::size_t i = 1; i < descriptors.size() && !stopped_; ++i) {
        if (!descriptors[i].revents) continue;
        auto input = inputs_.find(descriptors[i].fd);
        bool stillWatched = input != inputs_.end() && input->second == handlers[i];
        if (!stillWatched) continue;
        (*handlers[i])();
        worked = true;
    }
    return runDueTimers() || worked;
}

bool PollMainLoop::runDueTimers() {
    bool worked = false;
    // What a handler starts waits for the next round.
    for (const auto now = Clock::now(); !stopped_ && !timers_.empty() && timers_.begin()->first <= now;) {
        Handler handler = timers_.extract(timers_.begin()).mapped().lock();
        if (!handler) continue;
        (*handler)();
        worked = true;
    }
    return worked;
}

int PollMainLoop::millisecondsToWait() {
    std::erase_if(timers_, [](auto& timer) { return timer.second.expired(); });
    if (timers_.empty()) return -1;
    auto left = std::chrono::ceil<std::chrono::milliseconds>(timers_.begin()->first - Clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace tobrel
