#include <algorithm>
#include <thread>

#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

class ResolveTest : public ControllerTest {
protected:
    struct Outcome {
        Lines items;
        bool hasManager = false;
        std::thread::id thread;
    };

    ResolveTest() {
        for (const char* item : {"a", "b", "c"}) world.fileProvider.add(item, std::string("/storage/") + item);
    }

    void resolve(const Lines& selection) {
        controller->resolve(selection, [this](const Lines& items, std::shared_ptr<NSFileProviderManager> manager) {
            outcomes.push_back({items, manager != nullptr, std::this_thread::get_id()});
        });
    }

    std::vector<Outcome> outcomes;
};

TEST_F(ResolveTest, DeliversOnTheMainQueueWhatTheLookupsFoundInTheOrderOfTheirAnswers) {
    resolve({"a", "b", "a"});
    world.fileProvider.release("domains");
    for (const char* question : {"url for b", "url for a", "url for a", "identifier for /storage/a",
                                 "identifier for /storage/b", "identifier for /storage/a"})
        world.fileProvider.release(question);
    EXPECT_TRUE(outcomes.empty());
    world.mainQueue.run();
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].items, (Lines{"a", "b", "a"}));
    EXPECT_TRUE(outcomes[0].hasManager);
    EXPECT_EQ(outcomes[0].thread, std::this_thread::get_id());
}

TEST_F(ResolveTest, AsksForAllItemsBeforeAnyAnswerAndSurvivesAnswersAtOnce) {
    Lines selection;
    for (int i = 0; i < 200; ++i) {
        selection.push_back("item " + std::to_string(i));
        world.fileProvider.add(selection.back(), "/storage/" + std::to_string(i));
    }
    resolve(selection);
    world.fileProvider.release("domains");
    EXPECT_EQ(world.fileProvider.calls().size(), 1 + selection.size());
    world.fileProvider.releaseAll();
    world.mainQueue.run();
    ASSERT_EQ(outcomes.size(), 1u);
    std::sort(outcomes[0].items.begin(), outcomes[0].items.end());
    std::sort(selection.begin(), selection.end());
    EXPECT_EQ(outcomes[0].items, selection);
}

TEST_F(ResolveTest, AnEmptySelectionIsAnsweredFromTheMainQueueWithTheManager) {
    resolve({});
    world.fileProvider.releaseAll();
    EXPECT_TRUE(outcomes.empty());
    world.mainQueue.run();
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_TRUE(outcomes[0].hasManager);
    EXPECT_EQ(world.fileProvider.calls(), Lines{"domains"});
}

TEST_F(ResolveTest, WithoutTheRequestsDomainItEndsAtOnceWithNothing) {
    struct {
        std::optional<std::string> requested;
        std::set<std::string> withoutManager;
        const char* logged;
    } const cases[] = {
        {std::nullopt, {}, "error: no manager for domain ?"},
        {"other", {}, "error: no manager for domain other"},
        {"work", {"work"}, "error: no manager for domain work"},
    };
    for (const auto& c : cases) {
        outcomes.clear();
        world.log.clear();
        context->domain = c.requested;
        world.fileProvider.domainsWithoutManager = c.withoutManager;
        resolve({"a"});
        world.fileProvider.releaseAll();
        ASSERT_EQ(outcomes.size(), 1u);
        EXPECT_TRUE(outcomes[0].items.empty());
        EXPECT_FALSE(outcomes[0].hasManager);
        EXPECT_NE(outcomes[0].thread, std::this_thread::get_id());
        EXPECT_EQ(world.log.lines(), Lines{c.logged});
    }
}

TEST_F(ResolveTest, LeavesOutAndLogsWhatEitherLookupMisses) {
    world.fileProvider.paths.erase("b");
    world.fileProvider.identifiers.erase("/storage/c");
    resolve({"a", "b", "c"});
    world.fileProvider.releaseAll();
    world.mainQueue.run();
    ASSERT_EQ(outcomes.size(), 1u);
    EXPECT_EQ(outcomes[0].items, Lines{"a"});
    Lines logged = world.log.lines();
    std::sort(logged.begin(), logged.end());
    EXPECT_EQ(logged, (Lines{"error: no identifier for c: gone", "error: no url for b: gone"}));

    world.log.clear();
    world.fileProvider.error.reset();
    resolve({"b"});
    world.fileProvider.releaseAll();
    EXPECT_EQ(world.log.lines(), Lines{"error: no url for b: ?"});
}

TEST_F(ResolveTest, EndsOnlyTheAccessThatItWasGranted) {
    world.fileProvider.inaccessiblePaths = {"/storage/b"};
    resolve({"a", "b"});
    world.fileProvider.releaseAll();
    Lines calls = world.fileProvider.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "stop /storage/a"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "stop /storage/b"), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "identifier for /storage/b"), 1);
}

TEST(Resolve, LeavesNothingBehindWhereItsAnswersNeverCome) {
    std::weak_ptr<TobrelActionViewController> weak;
    {
        FakePlatform world;
        world.fileProvider.add("a", "/storage/a");
        auto controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
        controller->setExtensionContext(std::make_shared<FakeExtensionContext>());
        weak = controller;
        controller->resolve({"a"}, [controller](const Lines&, std::shared_ptr<NSFileProviderManager>) {});
        world.fileProvider.release("domains");
    }
    EXPECT_TRUE(weak.expired());
}

}  // namespace tobrel::testing
