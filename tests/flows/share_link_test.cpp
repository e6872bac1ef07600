#include <algorithm>

#include "flows/link_coverage.h"
#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST(LinkCoverage, IsTheFilesOrElseTheOneFolder) {
    struct {
        Lines keys;
        Lines folders;
        std::optional<std::string> name;
        std::optional<std::string> prefix;
    } const cases[] = {
        {{"Docs/report.pdf"}, {}, "report.pdf", {}},
        {{"Docs/report.pdf"}, {"Docs"}, "report.pdf (folders skipped)", {}},
        {{"a", "b", "c"}, {}, "3 files from Tobrel", {}},
        {{"a", "b"}, {"Docs", "Photos"}, "2 files from Tobrel (folders skipped)", {}},
        {{}, {"Docs/Reports/"}, "Reports", "Docs/Reports/"},
        {{}, {"Docs", "Photos"}, {}, {}},
        {{}, {}, {}, {}},
    };
    for (const auto& c : cases) {
        auto link = linkCoverage(c.keys, c.folders);
        ASSERT_EQ(link.has_value(), c.name.has_value());
        if (!link) continue;
        EXPECT_EQ(link->name, c.name);
        EXPECT_EQ(link->keys, c.keys);
        EXPECT_EQ(link->prefix, c.prefix);
    }
}

class ShareLinkTest : public ControllerTest {
protected:
    // As far as the form for one file, with the links that the server found.
    std::string begin(const std::string& shares = "[]") {
        controller->createShare({"a"});
        answerNext(answered(200, R"({"key":"Docs/a.txt"})"));
        world.mainQueue.run();
        answerNext(answered(200, R"({"shares":)" + shares + "}"));
        return sheet();
    }
    void answerNext(URLSessionAnswer answer) {
        world.urlSession.answer(world.urlSession.requests().size() - 1, std::move(answer));
    }
    std::string body() { return world.urlSession.requests().back().httpBody.value_or("none"); }
};

const std::string expiryRows =
    "    horizontal alignment 10 spacing 6\n"
    "      checkbox “Link expires after” on expiryToggled:\n"
    "      field “30” right width 52%\n"
    "      label “days”\n"
    "    label “After that the link stops working. The files stay in your Tobrel, and you can make a new link any "
    "time.” 11 secondaryLabel wordWrapping lines 0 width 420\n"
    "  button “Cancel” bezel 1 closeSheet: (356, 10, 84, 28)\n";

std::string withDaysField(const std::string& focus) {
    std::string text = expiryRows;
    return text.replace(text.find('%'), 1, focus);
}

TEST_F(ShareLinkTest, OffersANewLink) {
    EXPECT_EQ(begin(),
              "view (0, 0, 460, 166)\n"
              "  vertical alignment 5 spacing 10 (20, 48, 420, 106)\n"
              "    label “Share link for “a.txt”” bold 13 truncatingMiddle\n" +
                  withDaysField(" focused") + "  button “Create Link” return bezel 1 submitLink: (252, 10, 96, 28)\n");
    EXPECT_EQ(body(), R"({"keys":["Docs/a.txt"]})");
}

TEST_F(ShareLinkTest, OffersTheFirstLiveLinkForCopying) {
    EXPECT_EQ(begin(R"([{"id":1},{"url":"https://t/1"},{"url":"https://t/2"}])"),
              "view (0, 0, 460, 236)\n"
              "  vertical alignment 5 spacing 10 (20, 48, 420, 176)\n"
              "    label “Share link for “a.txt”” bold 13 truncatingMiddle\n"
              "    label “This already has a live link. This link does not expire.” 12\n"
              "    label “https://t/1” link truncatingMiddle selectable width 420\n"
              "    label “Or make a new link:” 11 secondaryLabel\n" +
                  withDaysField("") +
                  "  button “Copy Link” return bezel 1 copyExisting: (252, 10, 96, 28)\n"
                  "  button “New Link” bezel 1 submitLink: (148, 10, 96, 28)\n");
    click("Copy Link");
    EXPECT_EQ(world.pasteboard.text, "https://t/1");
    EXPECT_EQ(world.log.lines().back(), "info: existing share link copied");
    EXPECT_EQ(sheet(), "Link copied to the clipboard:\nhttps://t/1");
}

TEST_F(ShareLinkTest, CopiesTheNewLinkBeforeItSaysSo) {
    begin();
    controller->expiresDays->setStringValue(" +7");
    click("Create Link");
    EXPECT_EQ(sheet(), "Creating share link…");
    EXPECT_EQ(body(), R"({"name":"a.txt","keys":["Docs/a.txt"],"expires_in_days":7})");
    answerNext(answered(200, R"({"url":"https://t/n","expires_at":"2030-01-15 12:00:00"})"));
    EXPECT_EQ(world.log.lines().back(), "info: share created, expires in 7 day(s)");
    EXPECT_FALSE(world.pasteboard.text);
    world.mainQueue.runOne();
    EXPECT_EQ(world.pasteboard.text, "https://t/n");
    EXPECT_EQ(controller->label->stringValue(), "Creating share link…");
    EXPECT_EQ(sheet(), "Link copied to the clipboard:\nhttps://t/n\nExpires date 21929.");
}

TEST_F(ShareLinkTest, TakesDaysOnlyWhereTheLinkIsToExpire) {
    begin();
    controller->expiresDays->setStringValue("3651");
    controller->expiresCheck->becomeFirstResponder();
    click("Create Link");
    world.mainQueue.run();
    EXPECT_EQ(world.sound.beeps, 1);
    EXPECT_EQ(controller->expiresDays->firstResponder(), controller->expiresDays.get());
    EXPECT_EQ(world.urlSession.requests().size(), 2u);

    controller->expiresCheck->performClick();
    EXPECT_FALSE(controller->expiresDays->isEnabled());
    click("Create Link");
    EXPECT_EQ(body(), R"({"name":"a.txt","keys":["Docs/a.txt"]})");
    answerNext(answered(200, R"({"url":"https://t/n"})"));
    EXPECT_EQ(sheet(), "Link copied to the clipboard:\nhttps://t/n\nThis link does not expire.");
    EXPECT_EQ(world.log.lines().back(), "info: share created, expires in 0 day(s)");

    begin();
    EXPECT_TRUE(controller->expiresCheck->isOn());
    EXPECT_TRUE(controller->expiresDays->isEnabled());
    EXPECT_EQ(controller->expiresDays->stringValue(), "30");
}

TEST_F(ShareLinkTest, SaysWhyItCouldNotCreate) {
    begin();
    click("Create Link");
    answerNext(answered(200, "{}"));
    EXPECT_EQ(sheet(), "Could not create the share link: unknown error");
    EXPECT_FALSE(world.pasteboard.text);
    begin();
    world.configure("");
    click("Create Link");
    EXPECT_EQ(sheet(), "Could not create the share link: Tobrel is not set up on this Mac");
}

TEST_F(ShareLinkTest, KeepsTheOrderOfTheAnswersAndDropsWhatFails) {
    controller->createShare({"a", "d", "b", "x", "c"});
    EXPECT_EQ(sheet(), "Creating share link…");
    ASSERT_EQ(world.urlSession.requests().size(), 5u);
    world.urlSession.answer(4, answered(200, R"({"key":"c"})"));
    world.urlSession.answer(1, answered(200, R"({"path":"D","is_folder":true})"));
    world.urlSession.answer(3, answered(404, ""));
    world.urlSession.answer(2, answered(200, R"({"path":"without a key"})"));
    world.mainQueue.run();
    EXPECT_FALSE(controller->pendingLink);
    world.urlSession.answer(0, answered(200, R"({"key":"a"})"));
    world.mainQueue.run();
    EXPECT_EQ(body(), R"({"keys":["c","a"]})");
    answerNext(unreachable("No."));
    EXPECT_NE(sheet().find("“2 files from Tobrel (folders skipped)”"), std::string::npos);
}

TEST_F(ShareLinkTest, SaysWhyThereIsNothingToShare) {
    controller->createShare({});
    EXPECT_EQ(sheet(), "Nothing here can be shared.");
    controller->createShare({"a", "b"});
    world.urlSession.answer(1, unreachable("Second."));
    world.urlSession.answer(0, unreachable("First."));
    EXPECT_EQ(sheet(), "Could not reach Tobrel: Second.");
    world.configure("");
    controller->createShare(Lines(100'000, "a"));
    EXPECT_EQ(sheet(), "Tobrel is not set up on this Mac");
}

TEST_F(ShareLinkTest, AsksForEachOfManyItemsOnceAndOnlySoManyAtATime) {
    Lines items;
    for (int each = 0; each < 1000; ++each) items.push_back(std::to_string(each));
    controller->createShare(items);
    std::size_t done = 0;
    while (done < items.size()) {
        std::size_t asked = world.urlSession.requests().size();
        EXPECT_LE(asked - done, 64u);
        std::map<std::size_t, URLSessionAnswer> answers;
        for (; done < asked; ++done) answers[done] = answered(200, R"({"key":"k)" + items[done] + "\"}");
        world.urlSession.answerAtOnce(answers);
    }
    world.mainQueue.run();
    Lines asked = world.urlSession.lines();
    EXPECT_EQ(asked.back().substr(0, 49), "POST https://tobrel.example/tobrel/api/shares/find");
    asked.pop_back();
    for (auto& line : asked) line.erase(0, line.find('=') + 1);
    std::sort(asked.begin(), asked.end());
    std::sort(items.begin(), items.end());
    EXPECT_EQ(asked, items);
    EXPECT_EQ(controller->pendingLink->name, "1000 files from Tobrel");
}

TEST(ShareLink, LeavesNothingBehindWhereItsAnswersNeverCome) {
    std::weak_ptr<TobrelActionViewController> weak;
    {
        FakePlatform world;
        world.configure();
        auto controller = TobrelActionViewController::initWithNibName(std::nullopt, nullptr);
        weak = controller;
        controller->createShare({"a", "b"});
        world.urlSession.answer(1, answered(200, R"({"key":"b"})"));
    }
    EXPECT_TRUE(weak.expired());
}

}  // namespace tobrel::testing
