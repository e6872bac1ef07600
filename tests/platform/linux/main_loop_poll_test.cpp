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
    PollMainLoopTest() { EXPECT_EQ(pipe2(pipe_, O_CLOEXEC), 0); }
    ~PollMainLoopTest() override {
        close(pipe_[0]);
        close(pipe_[1]);
    }
    std::function<void()> note(std::string what) {
        return [this, what] { notes_.push_back(what); };
    }
    void makeReadable() { EXPECT_EQ(write(pipe_[1], "x", 1), 1); }

    int pipe_[2];
    std::vector<std::string> notes_;
    PollMainLoop loop_;
};

TEST_F(PollMainLoopTest, RunsDryOnlyAfterBlocksThatBlocksHaveQueued) {
    int dry = 0;
    loop_.setDryHandler([&] {
        notes_.push_back("dry");
        if (++dry == 2) return loop_.stop();
        loop_.async(note("third"));
    });
    loop_.async([this] {
        notes_.push_back("first");
        loop_.async(note("second"));
    });

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("first", "second", "dry", "third", "dry"));
}

TEST_F(PollMainLoopTest, SaysDryOnceAtTheStartAndThenAfterInputAndTimers) {
    int dry = 0;
    loop_.setDryHandler([&] {
        notes_.push_back("dry");
        if (++dry == 3) return loop_.stop();
        if (dry == 1) return makeReadable();
        loop_.setTimer(0ms, note("timer"));
    });
    loop_.watchInput(pipe_[0], [this] {
        notes_.push_back("input");
        loop_.unwatchInput(pipe_[0]);
    });

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("dry", "input", "dry", "timer", "dry"));
}

TEST_F(PollMainLoopTest, RunsTheBlocksOfEachThreadInOrderAndWakesForThem) {
    constexpr int each = 2000;
    std::vector<int> seen[2];
    auto queueFrom = [&](int thread) {
        for (int i = 0; i < each; ++i) loop_.async([&, thread, i] { seen[thread].push_back(i); });
        loop_.async([&] {
            if (seen[0].size() + seen[1].size() == 2 * each) loop_.stop();
        });
    };
    std::thread first(queueFrom, 0), second(queueFrom, 1);

    loop_.run();
    first.join();
    second.join();

    for (auto& numbers : seen) {
        EXPECT_EQ(numbers.size(), std::size_t{each});
        EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
    }
}

TEST_F(PollMainLoopTest, HandlersMayUnwatchReplaceAndDestroyOneAnother) {
    int second = dup(pipe_[0]);
    makeReadable();
    int replaced = 0;
    // Whichever comes first takes the other away, and itself is replaced while it runs.
    auto watch = [&](int own, int other) {
        loop_.watchInput(own, [&, own, other, held = std::make_shared<int>(7)] {
            loop_.unwatchInput(other);
            loop_.watchInput(own, [&] {
                ++replaced;
                loop_.stop();
            });
            notes_.push_back(std::to_string(*held));
        });
    };
    watch(pipe_[0], second);
    watch(second, pipe_[0]);

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("7"));
    EXPECT_EQ(replaced, 1);
    close(second);
}

TEST_F(PollMainLoopTest, ATimerRunsOnceAndIsReplacedOrCancelledByTheNextCall) {
    loop_.setTimer(0ms, note("replaced"));
    loop_.setTimer(std::chrono::milliseconds::max(), note("too late"));
    loop_.setTimer(0ms, [this] {
        notes_.push_back("set by hand");
        loop_.setTimer(0ms, note("cancelled"));
        loop_.setTimer(0ms, nullptr);
        loop_.async([this] { loop_.setTimer(1ms, [this] { loop_.stop(); }); });
    });

    loop_.run();

    EXPECT_THAT(notes_, ElementsAre("set by hand"));
}

TEST_F(PollMainLoopTest, StopLeavesTheRestUnrunAndDestructionDropsItWithItsCaptures) {
    auto loop = std::make_unique<PollMainLoop>();
    auto held = std::make_shared<int>();
    // Queues once more while it is destroyed with the loop.
    auto late = std::shared_ptr<int>(new int, [&](int* number) {
        delete number;
        loop->async([held] {});
    });
    loop->async([&] { loop->stop(); });
    loop->async([this, held, late = std::move(late)] { notes_.push_back("run"); });

    loop->run();
    std::thread([&] { loop->async([held] {}); }).join();
    EXPECT_GT(held.use_count(), 1);
    // Not reset(): the captures reach the loop while it is being destroyed.
    loop.get_deleter()(loop.get());
    (void)loop.release();

    EXPECT_TRUE(notes_.empty());
    EXPECT_EQ(held.use_count(), 1);
}

TEST_F(PollMainLoopTest, AStopBeforeRunEndsThatRunAndOnlyThat) {
    loop_.async(note("block"));
    loop_.stop();
    loop_.run();
    EXPECT_TRUE(notes_.empty());

    loop_.async([this] { loop_.stop(); });
    loop_.run();
    EXPECT_THAT(notes_, ElementsAre("block"));
}

}  // namespace
}  // namespace tobrel
