#include "dispatch/action_id.h"
#include "support/controller_test.h"

namespace tobrel::testing {

using DispatchTest = ControllerTest;
using Lines = std::vector<std::string>;

TEST_F(DispatchTest, PinCommandsRecordTheSelectionAndCompleteBeforeTheyReturn) {
    struct {
        const char* action;
        std::vector<std::string> items;
        const char* logged;
        const char* shown;
        const char* queue;
    } const cases[] = {
        {ActionID::keep,
         {"b", "a", "b"},
         "error: make available offline: 3 item(s)",
         "Made available offline",
         R"([{"id":"b","pin":true},{"id":"a","pin":true},{"id":"b","pin":true}])"},
        {ActionID::unkeep,
         {"a"},
         "error: make online-only: 1 item(s)",
         "Made online-only",
         R"([{"id":"a","pin":false}])"},
        {ActionID::keep, {}, "error: make available offline: 0 item(s)", "Made available offline", "[]"},
    };
    for (const auto& c : cases) {
        FakePlatform fresh;
        auto request = std::make_shared<FakeExtensionContext>();
        auto made = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
        made->setExtensionContext(request);
        made->loadView();
        made->prepareForAction(c.action, c.items);
        EXPECT_EQ(request->ends, Lines{"completed"});
        EXPECT_EQ(fresh.log.lines(), Lines{c.logged});
        EXPECT_EQ(made->label->stringValue(), c.shown);
        EXPECT_TRUE(made->done->isHidden());
        EXPECT_TRUE(made->autoDismiss);
        EXPECT_EQ(readFile(fresh.file("pinned_pending.json")), c.queue);
        EXPECT_FALSE(fresh.mainQueue.runOne());
    }
}

TEST_F(DispatchTest, PinCommandsSignalTheWorkingSetOfTheFirstDomainOfThatNameOnly) {
    struct {
        std::optional<std::string> requested;
        std::vector<NSFileProviderDomain> domains;
        std::set<std::string> withoutManager;
        Lines signals;
    } const cases[] = {
        {"work",
         {{"home"}, {"work"}, {"work"}},
         {},
         {"signal NSFileProviderWorkingSetContainerItemIdentifier in work"}},
        {"Work", {{"home"}, {"work"}}, {}, {}},
        {"work", {}, {}, {}},
        {std::nullopt, {{"work"}, {""}}, {}, {}},
        {"work", {{"work"}, {"work"}}, {"work"}, {}},
    };
    for (const auto& c : cases) {
        FakePlatform fresh;
        fresh.fileProvider.domains = c.domains;
        fresh.fileProvider.domainsWithoutManager = c.withoutManager;
        auto request = std::make_shared<FakeExtensionContext>();
        request->domain = c.requested;
        auto made = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
        made->setExtensionContext(request);
        made->loadView();
        made->prepareForAction(ActionID::keep, {"a"});
        fresh.fileProvider.releaseAll();
        Lines expected{"domains"};
        expected.insert(expected.end(), c.signals.begin(), c.signals.end());
        EXPECT_EQ(fresh.fileProvider.calls(), expected);
    }
}

TEST_F(DispatchTest, AnyOtherIdentifierIsLoggedAndCancelled) {
    for (std::string identifier : {"com.qelmo.tobrel.KeepDownloaded", "", " com.qelmo.tobrel.share",
                                   "com.qelmo.tobrel.shareWithX", "com.qelmo.tobrel.keepDownloaded\n"}) {
        world.log.clear();
        context->ends.clear();
        controller->prepareForAction(identifier, {"a"});
        EXPECT_EQ(context->ends, Lines{"cancelled FPUIErrorDomain 1 "});
        EXPECT_EQ(world.log.lines(), Lines{"error: unknown action " + identifier});
        EXPECT_EQ(sheet(), "");
        EXPECT_TRUE(world.fileProvider.calls().empty());
    }
}

TEST_F(DispatchTest, ServerCommandsShowTheirProgressResolveTheSelectionAndBeginTheirOwnDialogue) {
    struct {
        const char* action;
        const char* progress;
        const char* begun;
    } const cases[] = {
        {ActionID::share, "", R"(POST https://tobrel.example/tobrel/api/shares/find {"folder_prefix":"Docs"})"},
        {ActionID::shareWith, "Looking up the folder…", "Share “Docs” with a Tobrel user"},
        {ActionID::manage, "Checking sharing…", "GET https://tobrel.example/tobrel/api/grants?folder_id=a"},
        {ActionID::online, "Opening in your browser…", "Opened in your browser."},
    };
    world.fileProvider.add("a", "/storage/a");
    for (const auto& c : cases) {
        controller->presentLabel();
        controller->label->setStringValue("");
        controller->prepareForAction(c.action, {"a"});
        EXPECT_EQ(sheet(), c.progress);
        world.fileProvider.releaseAll();
        world.mainQueue.run();
        EXPECT_EQ(world.urlSession.lines().back(), "GET https://tobrel.example/tobrel/api/item?id=a") << c.action;
        world.urlSession.answerLast(answered(200, R"({"path":"Docs","is_folder":true})"));
        std::string shown = sheet();
        EXPECT_NE((shown + world.urlSession.lines().back()).find(c.begun), shown.npos) << c.action << shown;
    }
}

TEST_F(DispatchTest, TheHostsErrorCancelsTheRequestUnchangedAndSilently) {
    controller->prepareForError({"NSFileProviderErrorDomain", -1005, "no such thing"});
    EXPECT_EQ(context->ends, Lines{"cancelled NSFileProviderErrorDomain -1005 no such thing"});
    EXPECT_TRUE(world.log.lines().empty());
    EXPECT_EQ(sheet(), "");
}

TEST_F(DispatchTest, AnInitialiserWithoutAnArchiveMakesNoController) {
    NSCoder empty;
    NSCoder archive{true};
    EXPECT_FALSE(TobrelActionViewController::initWithCoder(nullptr));
    EXPECT_FALSE(TobrelActionViewController::initWithCoder(&empty));
    auto made = TobrelActionViewController::initWithCoder(&archive);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->done->title(), "Done");
    EXPECT_EQ(made->done->action(), "");
    EXPECT_EQ(made->rootView, nullptr);
}

TEST_F(DispatchTest, AnUnknownSelectorIsRefusedAndLogged) {
    EXPECT_FALSE(controller->performSelector("closeSheet", nullptr));
    EXPECT_FALSE(controller->performSelector("", nullptr));
    EXPECT_TRUE(context->ends.empty());
    EXPECT_EQ(world.log.lines(), (Lines{"error: no action closeSheet", "error: no action "}));
    EXPECT_TRUE(controller->performSelector("closeSheet:", nullptr));
    EXPECT_EQ(context->ends, Lines{"completed"});
}

}  // namespace tobrel::testing
