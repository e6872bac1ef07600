#include <boost/json/parse.hpp>

#include "flows/manage_rows.h"
#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST(ManageRows, TellWhoHasTheFolder) {
    const std::string title = "0 Sharing for “F”";
    struct {
        const char* answer;
        Lines rows;
    } const cases[] = {
        {R"({})", {title}},
        {R"({"role":"owner"})", {title, "2 Not shared with anyone yet."}},
        {R"({"role":"owner","given":[]})", {title, "2 Not shared with anyone yet."}},
        {R"({"role":"write","given":[]})", {title}},
        {R"({"role":"owner","given":[{"id":"g1","email":"bob@x","role":"write"},{"id":"g2","email":"eve@x","role":"read"}]})",
         {title, "1 bob@x  ·  can edit, stop g1", "1 eve@x  ·  view only, stop g2"}},
        {R"({"given":[{"id":7,"email":null,"role":["write"]}]})", {title, "1 ?  ·  view only, stop "}},
        // One element that is no object, and the list counts as missing.
        {R"({"role":"owner","given":[{"id":"g1","email":"bob@x"},"eve@x"]})", {title, "2 Not shared with anyone yet."}},
        {R"({"received":{"id":"r","owner_email":"ann@x","role":"write","is_top":true,"folder_name":"P"}})",
         {title, "1 Shared with you by ann@x  ·  you can edit, leave r"}},
        {R"({"received":{"id":"r","owner_email":"ann@x","is_top":false,"folder_name":"Projects"}})",
         {title, "1 Inside “Projects”, shared with you by ann@x  ·  view only, leave r"}},
        {R"({"received":{"is_top":1}})", {title, "1 Inside “”, shared with you by ?  ·  view only, leave "}},
        {R"({"received":[{"id":"r"}]})", {title}},
    };
    for (const auto& c : cases) {
        Lines rows;
        for (auto& row : manageRows("F", boost::json::parse(c.answer).as_object())) {
            rows.push_back(std::to_string(static_cast<int>(row.style)) + " " + row.text);
            if (row.button)
                rows.back() += (row.button->kind == Revocation::leave ? ", leave " : ", stop ") + row.button->grantID;
        }
        EXPECT_EQ(rows, c.rows) << c.answer;
    }
}

class ManageTest : public ControllerTest {
protected:
    // As far as the list of a folder with that grants answer.
    std::string begin(const std::string& grants) {
        controller->beginManage({"f"});
        answerNext(answered(200, R"({"path":"Docs/Reports/","is_folder":true})"));
        world.mainQueue.run();
        answerNext(answered(200, grants));
        return sheet();
    }
    void answerNext(URLSessionAnswer answer) {
        world.urlSession.answer(world.urlSession.requests().size() - 1, std::move(answer));
    }
};

TEST_F(ManageTest, ListsOneRowAGrantWithItsButton) {
    EXPECT_EQ(begin(R"({"given":[{"id":"g","email":"bob@x","role":"write"}],"received":{"owner_email":"ann@x"}})"),
              "view (0, 0, 460, 182)\n"
              "  vertical alignment 5 spacing 10 (20, 48, 420, 122)\n"
              "    label “Sharing for “Reports”” bold 13\n"
              "    horizontal alignment 10 spacing 12\n"
              "      label “bob@x  ·  can edit”\n"
              "      button “Stop sharing” bezel 1 identifier “g” revokeTapped:\n"
              "    horizontal alignment 10 spacing 12\n"
              "      label “Inside “”, shared with you by ann@x  ·  view only”\n"
              "      button “Leave” bezel 1 tag 1 identifier “” revokeTapped:\n"
              "  button “Done” bezel 1 closeSheet: (356, 10, 84, 28)\n");
    click("Leave");
    EXPECT_TRUE(button("Leave").isEnabled());
    EXPECT_EQ(world.urlSession.requests().size(), 2u);

    EXPECT_NE(begin(R"({"role":"owner"})").find("label “Not shared with anyone yet.” secondaryLabel\n"),
              std::string::npos);
    EXPECT_EQ(controller->preferredContentSize(), (CGSize{460, 148}));
}

TEST_F(ManageTest, RequestsTheListAgainOnceAGrantIsRevoked) {
    begin(R"({"given":[{"id":"g","email":"bob@x"}]})");
    world.log.clear();
    NSButton& stop = button("Stop sharing");
    stop.performClick();
    EXPECT_FALSE(stop.isEnabled());
    answerNext(answered(200, "{}"));
    EXPECT_EQ(world.log.lines().back(), "info: revoked grant g");
    world.mainQueue.run();
    EXPECT_EQ(world.urlSession.lines().back(), "GET https://tobrel.example/tobrel/api/grants?folder_id=f");
    answerNext(answered(200, R"({"given":[]})"));
    EXPECT_EQ(sheet().find("bob@x"), std::string::npos);
    EXPECT_EQ(controller->preferredContentSize(), (CGSize{460, 114}));
}

TEST_F(ManageTest, SaysGoodbyeToAFolderThatTheUserLeft) {
    begin(R"({"received":{"id":"r"}})");
    click("Leave");
    EXPECT_EQ(world.urlSession.lines().back(), "DELETE https://tobrel.example/tobrel/api/grants/r");
    answerNext(answered(200, "{}"));
    EXPECT_EQ(sheet(),
              "You left “Reports”. It disappears from your Tobrel shortly.\n"
              "The owner can share it with you again any time.");
}

TEST_F(ManageTest, SaysWhatWentWrong) {
    begin(R"({"received":{"id":"r"}})");
    click("Leave");
    answerNext(answered(403, R"({"error":"Not yours"})"));
    EXPECT_EQ(sheet(), "Could not stop sharing: Not yours");

    controller->loadManage("f", "F");
    answerNext(answered(500, ""));
    EXPECT_EQ(sheet(), "Tobrel answered HTTP 500");

    world.configure("");
    begin(R"({"received":{"id":"r"}})");
}

}  // namespace tobrel::testing
