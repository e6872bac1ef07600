#include "platform/linux/main_loop_poll.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tobrel {
namespace {

using ::testing::ElementsAre;
using namespace std::chrono_literals;

class PollMainLoopTest : public ::testing::Test {
protected:
    PollMainLoopTest() {
        EXPECT_EQ(pipe2(pipe_, O_CLOEXEC), 0);
        EXPECT_EQ(write(pipe_[1], "x", 1), 1);
    }
    ~PollMainLoopTest() override {
        close(pipe_[0]);
        close(pipe_[1]);
    }
    auto note(std::string what) {
        return [this, what] { notes_.push_back(what); };
    }

    int pipe_[2];
    std::vector<std::string> notes_;
    PollMainLoop loop_;
};

TEST_F(PollMainLoopTest, SaysDryAtTheStartAndAfterBlocksWithAllThatTheyQueueInputAndTimers) {
    int dry = 0;
    loop_.setDryHandler([&] {
        notes_.push_back("dry");
        if (++dry == 1)
            loop_.watchInput(pipe_[0], [this] {
                notes_.push_back("input");
                loop_.unwatchInput(pipe_[0]);
            });
        if (dry == 2) loop_.setTimer(0ms, note("timer"));
        if (dry == 3)
            loop_.async([this] {
                notes_.push_back("block");
                loop_.async(note("its block"));
            });
        if (dry == 4) loop_.stop();
    });

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("dry", "input", "dry", "timer", "dry", "block", "its block", "dry"));
}

TEST_F(PollMainLoopTest, RunsTheBlocksOfEachThreadInOrderAndWakesForThem) {
    std::vector<int> seen[2];
    auto queueFrom = [&](int thread) {
        for (int i = 0; i < 2000; ++i) loop_.async([&, thread, i] { seen[thread].push_back(i); });
        loop_.async([&] {
            if (seen[0].size() + seen[1].size() == 4000) loop_.stop();
        });
    };
    std::thread first(queueFrom, 0), second(queueFrom, 1);

    loop_.run();
    first.join();
    second.join();

    for (auto& numbers : seen) EXPECT_TRUE(numbers.size() == 2000 && std::is_sorted(numbers.begin(), numbers.end()));
}

TEST_F(PollMainLoopTest, HandlersMayUnwatchOneAnotherAndReplaceThemselves) {
    int same = dup(pipe_[0]);
    auto watch = [&](int own, int other) {
        loop_.watchInput(own, [&, own, other, held = std::string("first come")] {
            loop_.unwatchInput(other);
            loop_.watchInput(own, [this] { loop_.stop(); });
            notes_.push_back(held);
        });
    };
    watch(pipe_[0], same);
    watch(same, pipe_[0]);

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("first come"));
    close(same);
}

TEST_F(PollMainLoopTest, ATimerRunsOnceAndIsReplacedOrCancelledByTheNextCall) {
    loop_.setTimer(0ms, note("replaced"));
    loop_.setTimer(std::chrono::milliseconds::max(), note("too late"));
    loop_.setTimer(0ms, [this] {
        notes_.push_back("timer");
        loop_.setTimer(0ms, note("cancelled"));
        loop_.setTimer(0ms, nullptr);
        loop_.setTimer(1ms, [this] { loop_.stop(); });
    });

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("timer"));
}

TEST_F(PollMainLoopTest, DestructionDropsWhatStopLeftUnrunWithItsCaptures) {
    auto owner = std::make_unique<PollMainLoop>();
    PollMainLoop& loop = *owner;
    auto held = std::make_shared<int>();
    // Queues once more while it is destroyed with the loop.
    std::shared_ptr<void> late(nullptr, [&](void*) { loop.async([held] {}); });
    loop.async([&] { loop.stop(); });
    loop.async(note("run"));
    loop.async([late = std::move(late)] {});

    loop.run();
    std::thread([&] { loop.async([held] {}); }).join();
    EXPECT_EQ(held.use_count(), 2);
    owner.reset();

    EXPECT_TRUE(notes_.empty());
    EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace tobrel
