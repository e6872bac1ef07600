#pragma once

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/main_loop.h"

// What every main loop keeps. A loop's own test holds it to this with one line:
// INSTANTIATE_TYPED_TEST_SUITE_P(Poll, MainLoopContract, PollMainLoop);
namespace tobrel {

template <class Loop>
class MainLoopContract : public ::testing::Test {
protected:
    MainLoopContract() {
        EXPECT_EQ(pipe2(pipe_, O_CLOEXEC), 0);
        EXPECT_EQ(write(pipe_[1], "x", 1), 1);
    }
    ~MainLoopContract() override {
        close(pipe_[0]);
        close(pipe_[1]);
    }
    auto note(std::string what) {
        return [this, what] { notes_.push_back(what); };
    }

    int pipe_[2];
    std::vector<std::string> notes_;
    std::unique_ptr<MainLoop> loop_ = std::make_unique<Loop>();
    std::unique_ptr<Timer> timer_;
};

TYPED_TEST_SUITE_P(MainLoopContract);

TYPED_TEST_P(MainLoopContract, SaysDryAtTheStartAndAfterBlocksWithAllThatTheyQueueInputAndTimers) {
    int dry = 0;
    this->loop_->setDryHandler([&] {
        this->notes_.push_back("dry");
        if (++dry == 1)
            this->loop_->watchInput(this->pipe_[0], [this] {
                this->notes_.push_back("input");
                this->loop_->unwatchInput(this->pipe_[0]);
            });
        if (dry == 2) this->timer_ = this->loop_->startTimer(std::chrono::milliseconds(0), this->note("timer"));
        if (dry == 3)
            this->loop_->async([this] {
                this->notes_.push_back("block");
                this->loop_->async(this->note("its block"));
            });
        if (dry == 4) this->loop_->stop();
    });

    this->loop_->run();

    EXPECT_THAT(this->notes_,
                ::testing::ElementsAre("dry", "input", "dry", "timer", "dry", "block", "its block", "dry"));
}

TYPED_TEST_P(MainLoopContract, RunsTheBlocksOfEachThreadInOrderAndWakesForThem) {
    std::vector<int> seen[2];
    auto queueFrom = [&](int thread) {
        for (int i = 0; i < 2000; ++i) this->loop_->async([&, thread, i] { seen[thread].push_back(i); });
        this->loop_->async([&] {
            if (seen[0].size() + seen[1].size() == 4000) this->loop_->stop();
        });
    };
    std::thread first(queueFrom, 0), second(queueFrom, 1);

    this->loop_->run();
    first.join();
    second.join();

    for (auto& numbers : seen) EXPECT_TRUE(numbers.size() == 2000 && std::is_sorted(numbers.begin(), numbers.end()));
}

TYPED_TEST_P(MainLoopContract, HandlersMayUnwatchOneAnotherAndReplaceThemselves) {
    int same = dup(this->pipe_[0]);
    auto watch = [&](int own, int other) {
        this->loop_->watchInput(own, [&, own, other, held = std::string("first come")] {
            this->loop_->unwatchInput(other);
            this->loop_->watchInput(own, [this] { this->loop_->stop(); });
            this->notes_.push_back(held);
        });
    };
    watch(this->pipe_[0], same);
    watch(same, this->pipe_[0]);

    this->loop_->run();

    EXPECT_THAT(this->notes_, ::testing::ElementsAre("first come"));
    close(same);
}

TYPED_TEST_P(MainLoopContract, TimersRunOnceUnlessTheyAreDestroyedFirst) {
    std::unique_ptr<Timer> own, other;
    auto late = this->loop_->startTimer(std::chrono::milliseconds::max(), this->note("too late"));
    own = this->loop_->startTimer(std::chrono::milliseconds(0), [&, held = std::string("first")] {
        own.reset();
        other.reset();
        this->notes_.push_back(held);
    });
    other = this->loop_->startTimer(std::chrono::milliseconds(1), this->note("cancelled"));
    auto second = this->loop_->startTimer(std::chrono::milliseconds(20), this->note("second"));
    auto last = this->loop_->startTimer(std::chrono::milliseconds(40), [this] { this->loop_->stop(); });

    this->loop_->run();

    EXPECT_THAT(this->notes_, ::testing::ElementsAre("first", "second"));
}

TYPED_TEST_P(MainLoopContract, DestructionDropsWhatStopLeftUnrunWithItsCaptures) {
    MainLoop& loop = *this->loop_;
    auto held = std::make_shared<int>();
    // Queues once more while it is destroyed with the loop.
    std::shared_ptr<void> late(nullptr, [&](void*) { loop.async([held] {}); });
    loop.async([&] { loop.stop(); });
    loop.async(this->note("run"));
    loop.async([late = std::move(late)] {});
    auto timer = loop.startTimer(std::chrono::milliseconds(0), this->note("timer"));

    loop.run();
    std::thread([&] { loop.async([held] {}); }).join();
    EXPECT_EQ(held.use_count(), 2);
    this->loop_.reset();
    timer.reset();

    EXPECT_TRUE(this->notes_.empty());
    EXPECT_EQ(held.use_count(), 1);
}

REGISTER_TYPED_TEST_SUITE_P(MainLoopContract, SaysDryAtTheStartAndAfterBlocksWithAllThatTheyQueueInputAndTimers,
                            RunsTheBlocksOfEachThreadInOrderAndWakesForThem,
                            HandlersMayUnwatchOneAnotherAndReplaceThemselves, TimersRunOnceUnlessTheyAreDestroyedFirst,
                            DestructionDropsWhatStopLeftUnrunWithItsCaptures);

}  // namespace tobrel
