#include "platform/work_counter.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel {

TEST(WorkCounter, WorkEndsBehindWhatItsAnswersHaveQueuedAndWithTheLastOfIt) {
    testing::ManualMainQueue queue;
    WorkCounter counter(queue);
    EXPECT_FALSE(counter.isWorking());
    WorkCounter::Token second;
    auto first = counter.begin();
    queue.async([&] {
        EXPECT_TRUE(counter.isWorking());
        second = counter.begin();
    });
    testing::onOtherThreads({[&] { first.reset(); }});
    EXPECT_TRUE(counter.isWorking());
    queue.run();
    EXPECT_TRUE(counter.isWorking());
    // A last block of its own tells the front end.
    second.reset();
    EXPECT_TRUE(counter.isWorking());
    EXPECT_TRUE(queue.runOne());
    EXPECT_FALSE(counter.isWorking());
}

}  // namespace tobrel
