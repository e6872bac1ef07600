#include "platform/linux_online/batch_queue_thread.h"

#include <gtest/gtest.h>

#include <future>

namespace tobrel {

TEST(ThreadBatchQueue, MakesOneBatchOfWhatWaitsAndDropsTheRestAtTheEnd) {
    ThreadBatchQueue queue;
    std::promise<void> began, goOn, done;
    std::string seen;
    auto note = [&](std::any& shared) {
        if (!shared.has_value()) shared = 0;
        seen += std::to_string(++std::any_cast<int&>(shared));
    };
    queue.async([&](std::any& shared) {
        note(shared);
        began.set_value();
        goOn.get_future().wait();
    });
    began.get_future().wait();
    // All of these wait for the next batch, which the first one's late comer is not part of.
    queue.async(note);
    queue.async([&](std::any& shared) {
        note(shared);
        queue.async([&](std::any& shared) {
            note(shared);
            done.set_value();
        });
    });
    queue.async(note);
    goOn.set_value();
    done.get_future().wait();
    EXPECT_EQ(seen, "11231");

    std::promise<void> running, ending;
    auto kept = std::make_shared<int>();
    queue.async([&](std::any&) {
        running.set_value();
        ending.get_future().wait();
        queue.async([&, kept](std::any&) { seen += "late"; });
    });
    running.get_future().wait();
    queue.async([&, kept](std::any&) { seen += "late"; });
    auto end = std::async(std::launch::async, [&] { queue.end(); });
    while (kept.use_count() > 1) std::this_thread::yield();
    ending.set_value();
    end.wait();
    queue.async([&, kept](std::any&) { seen += "late"; });
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_EQ(seen, "11231");
}

}  // namespace tobrel
