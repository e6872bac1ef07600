#include <set>

#include "flows/link_coverage.h"
#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST(LinkCoverage, IsTheFilesOrElseTheOneFolder) {
    const auto covered = [](const Lines& keys, const Lines& folders) {
        auto link = linkCoverage(keys, folders);
        if (!link) return std::string("nothing");
        EXPECT_EQ(link->keys, keys);
        return link->name + " (" + link->prefix.value_or("files") + ")";
    };
    EXPECT_EQ(covered({"Docs/a.txt"}, {}), "a.txt (files)");
    EXPECT_EQ(covered({"Docs/a.txt"}, {"Docs"}), "a.txt (folders skipped) (files)");
    EXPECT_EQ(covered({"a", "b", "c"}, {}), "3 files from Tobrel (files)");
    EXPECT_EQ(covered({"a", "b"}, {"Docs", "Photos"}), "2 files from Tobrel (folders skipped) (files)");
    EXPECT_EQ(covered({}, {"Docs/Reports/"}), "Reports (Docs/Reports/)");
    EXPECT_EQ(covered({}, {"Docs", "Photos"}), "nothing");
}

class ShareLinkTest : public ControllerTest {
protected:
    // As far as the form for one file, with the links that the server found.
    std::string begin(const std::string& shares = "[]") {
        controller->createShare({"a"});
        world.urlSession.answerLast(answered(200, R"({"key":"Docs/a.txt"})"));
        world.mainQueue.run();
        world.urlSession.answerLast(answered(200, R"({"shares":)" + shares + "}"));
        return sheet();
    }
    std::string body() { return world.urlSession.requests().back().httpBody.value_or("none"); }
};

TEST_F(ShareLinkTest, OffersTheFirstLiveLinkForCopying) {
    EXPECT_EQ(begin(R"([{"id":1},{"url":"https://t/1"},{"url":"https://t/2"}])"), R"({"event":"sheet","size":[460,236]}
{"kind":"view","frame":[0,0,460,236],"hidden":false}
  {"kind":"stack","frame":[20,48,420,176],"hidden":false,"orientation":"vertical","spacing":10,"alignment":"leading"}
    {"kind":"label","hidden":false,"text":"Share link for “a.txt”","align":"natural","font":{"size":13,"bold":true},"color":"label","lineBreak":"truncatingMiddle","maxLines":1,"selectable":false}
    {"kind":"label","hidden":false,"text":"This already has a live link. This link does not expire.","align":"natural","font":{"size":12,"bold":false},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"label","hidden":false,"width":420,"text":"https://t/1","align":"natural","font":{"size":13,"bold":false},"color":"link","lineBreak":"truncatingMiddle","maxLines":1,"selectable":true}
    {"kind":"label","hidden":false,"text":"Or make a new link:","align":"natural","font":{"size":11,"bold":false},"color":"secondaryLabel","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"stack","hidden":false,"orientation":"horizontal","spacing":6,"alignment":"centerY"}
      {"kind":"checkbox","hidden":false,"title":"Link expires after","enabled":true,"action":"expiryToggled:","on":true}
      {"kind":"field","hidden":false,"width":52,"text":"30","align":"right","placeholder":"","enabled":true}
      {"kind":"label","hidden":false,"text":"days","align":"natural","font":{"size":13,"bold":false},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"label","hidden":false,"width":420,"text":"After that the link stops working. The files stay in your Tobrel, and you can make a new link any time.","align":"natural","font":{"size":11,"bold":false},"color":"secondaryLabel","lineBreak":"wordWrapping","maxLines":0,"selectable":false}
  {"kind":"button","frame":[356,10,84,28],"hidden":false,"title":"Cancel","enabled":true,"action":"closeSheet:","bezel":1,"key":"","tag":0}
  {"kind":"button","frame":[252,10,96,28],"hidden":false,"title":"Copy Link","enabled":true,"action":"copyExisting:","bezel":1,"key":"\r","tag":0}
  {"kind":"button","frame":[148,10,96,28],"hidden":false,"title":"New Link","enabled":true,"action":"submitLink:","bezel":1,"key":"","tag":0}
)");
    click("Copy Link");
    EXPECT_EQ(world.desktop.text, "https://t/1");
    EXPECT_EQ(world.log.lines().back(), "info: existing share link copied");
    EXPECT_EQ(sheet(), "Link copied to the clipboard:\nhttps://t/1");
}

TEST_F(ShareLinkTest, CopiesTheNewLinkBeforeItSaysSo) {
    std::string form = begin();
    for (const char* part : {R"("size":[460,166])", R"("width":52,"focused":true,"text":"30")",
                             R"([252,10,96,28],"hidden":false,"title":"Create Link")", R"("key":"\r")"})
        EXPECT_NE(form.find(part), form.npos) << form;
    controller->expiresDays->setStringValue(" +7");
    click("Create Link");
    EXPECT_EQ(sheet(), "Creating share link…");
    EXPECT_EQ(body(), R"({"name":"a.txt","keys":["Docs/a.txt"],"expires_in_days":7})");
    world.urlSession.answerLast(answered(200, R"({"url":"https://t/n","expires_at":"2030-01-15 12:00:00"})"));
    EXPECT_EQ(world.log.lines().back(), "info: share created, expires in 7 day(s)");
    EXPECT_FALSE(world.desktop.text);
    world.mainQueue.runOne();
    EXPECT_EQ(world.desktop.text, "https://t/n");
    EXPECT_EQ(controller->label->stringValue(), "Creating share link…");
    EXPECT_EQ(sheet(), "Link copied to the clipboard:\nhttps://t/n\nExpires Jan 15, 2030.");
}

TEST_F(ShareLinkTest, TakesDaysOnlyWhereTheLinkIsToExpireAndNoAddressThatDrivesADisplay) {
    begin(R"([{"url":"https://t/\u0007"}])");
    controller->expiresDays->setStringValue("3651");
    controller->expiresCheck->becomeFirstResponder();
    click("Create Link");
    world.mainQueue.run();
    EXPECT_EQ(world.desktop.beeps, 1);
    EXPECT_EQ(controller->expiresDays->firstResponder(), controller->expiresDays.get());
    controller->expiresCheck->performClick();
    EXPECT_FALSE(controller->expiresDays->isEnabled());
    click("Create Link");
    EXPECT_EQ(world.urlSession.requests().size(), 3u);
    EXPECT_EQ(body(), R"({"name":"a.txt","keys":["Docs/a.txt"]})");
    world.urlSession.answerLast(answered(200, "{}"));
    EXPECT_EQ(sheet(), "Could not create the share link: unknown error");
    controller->submitLink(nullptr);
    world.urlSession.answerLast(answered(200, R"({"url":"https://t/\n"})"));
    EXPECT_EQ(sheet(), "Could not create the share link: unknown error");
    EXPECT_FALSE(world.desktop.text);
}

TEST_F(ShareLinkTest, KeepsTheOrderOfTheAnswersAndDropsWhatFails) {
    controller->createShare({"a", "d", "b", "x", "c"});
    EXPECT_EQ(sheet(), "Creating share link…");
    world.urlSession.answer(4, answered(200, R"({"key":"c"})"));
    world.urlSession.answer(1, answered(200, R"({"path":"D","is_folder":true})"));
    world.urlSession.answer(3, answered(404, ""));
    world.urlSession.answer(2, answered(200, R"({"path":"without a key"})"));
    world.mainQueue.run();
    EXPECT_FALSE(controller->pendingLink);
    world.urlSession.answer(0, answered(200, R"({"key":"a"})"));
    world.mainQueue.run();
    EXPECT_EQ(body(), R"({"keys":["c","a"]})");
    world.urlSession.answerLast(unreachable("No."));
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

TEST_F(ShareLinkTest, AsksForEachOfManyItemsOnceAndForSoManyAtATime) {
    Lines items;
    for (int each = 0; each < 1000; ++each) items.push_back(std::to_string(each));
    controller->createShare(items);
    for (std::size_t done = 0; done < items.size();) {
        std::size_t asked = world.urlSession.requests().size();
        EXPECT_LE(asked - done, 64u);
        std::map<std::size_t, URLSessionAnswer> answers;
        for (; done < asked; ++done) answers[done] = answered(200, R"({"key":"k"})");
        world.urlSession.answerAtOnce(answers);
    }
    Lines asked = world.urlSession.lines();
    EXPECT_EQ(asked.size(), items.size());
    EXPECT_EQ(std::set<std::string>(asked.begin(), asked.end()).size(), items.size());
    world.mainQueue.run();
    EXPECT_EQ(controller->pendingLink->keys.size(), items.size());
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
