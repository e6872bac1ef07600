#include <boost/json/parse.hpp>

#include "flows/manage_rows.h"
#include "support/controller_test.h"

namespace tobrel::testing {

TEST(ManageRows, TellWhoHasTheFolder) {
    const std::pair<const char*, const char*> cases[] = {
        {R"({"role":"owner"})", "Not shared with anyone yet.\n"},
        {R"({"role":"write","given":[]})", ""},
        {R"({"role":"owner","given":[{"id":"1","email":"b@x","role":"write"},{"id":"2","email":"e@x","role":"read"}]})",
         "b@x  ·  can edit, stop 1\ne@x  ·  view only, stop 2\n"},
        {R"({"given":[{"id":7,"email":null,"role":["write"]}]})", "?  ·  view only, stop \n"},
        // One element that is no object, and the list counts as missing.
        {R"({"role":"owner","given":[{"id":"1","email":"b@x"},"e@x"]})", "Not shared with anyone yet.\n"},
        {R"({"received":{"id":"r","owner_email":"a@x","role":"write","is_top":true,"folder_name":"P"}})",
         "Shared with you by a@x  ·  you can edit, leave r\n"},
        {R"({"received":{"id":"r","owner_email":"a@x","is_top":false,"folder_name":"Projects"}})",
         "Inside “Projects”, shared with you by a@x  ·  view only, leave r\n"},
        {R"({"received":{"is_top":1}})", "Inside “”, shared with you by ?  ·  view only, leave \n"},
        {R"({"received":[{"id":"r"}]})", ""},
    };
    for (const auto& [answer, expected] : cases) {
        std::string rows;
        for (auto& row : manageRows("F", boost::json::parse(answer).as_object())) {
            rows += row.text;
            if (row.button)
                rows += (row.button->kind == Revocation::leave ? ", leave " : ", stop ") + row.button->grantID;
            rows += "\n";
        }
        EXPECT_EQ(rows, std::string("Sharing for “F”\n") + expected) << answer;
    }
}

class ManageTest : public ControllerTest {
protected:
    std::string begin(const std::string& grants) {
        controller->beginManage({"f"});
        world.urlSession.answerLast(answered(200, R"({"path":"Docs/Reports/","is_folder":true})"));
        world.mainQueue.run();
        world.urlSession.answerLast(answered(200, grants));
        return sheet();
    }
};

TEST_F(ManageTest, RequestsTheListAgainOnceAGrantIsRevoked) {
    EXPECT_EQ(begin(R"({"given":[{"id":"g","email":"bob@x","role":"write"}],"received":{"owner_email":"ann@x"}})"),
              R"({"event":"sheet","size":[460,182]}
{"kind":"view","frame":[0,0,460,182],"hidden":false}
  {"kind":"stack","frame":[20,48,420,122],"hidden":false,"orientation":"vertical","spacing":10,"alignment":"leading"}
    {"kind":"label","hidden":false,"text":"Sharing for “Reports”","align":"natural","font":{"size":13,"bold":true},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"stack","hidden":false,"orientation":"horizontal","spacing":12,"alignment":"centerY"}
      {"kind":"label","hidden":false,"text":"bob@x  ·  can edit","align":"natural","font":{"size":13,"bold":false},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
      {"kind":"button","hidden":false,"title":"Stop sharing","enabled":true,"action":"revokeTapped:","bezel":1,"key":"","tag":0,"identifier":"g"}
    {"kind":"stack","hidden":false,"orientation":"horizontal","spacing":12,"alignment":"centerY"}
      {"kind":"label","hidden":false,"text":"Inside “”, shared with you by ann@x  ·  view only","align":"natural","font":{"size":13,"bold":false},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
      {"kind":"button","hidden":false,"title":"Leave","enabled":true,"action":"revokeTapped:","bezel":1,"key":"","tag":1,"identifier":""}
  {"kind":"button","frame":[356,10,84,28],"hidden":false,"title":"Done","enabled":true,"action":"closeSheet:","bezel":1,"key":"","tag":0}
)");
    click("Leave");
    EXPECT_TRUE(button("Leave").isEnabled()) << "without a grant to give up";
    NSButton& stop = button("Stop sharing");
    stop.performClick();
    EXPECT_FALSE(stop.isEnabled());
    world.urlSession.answerLast(answered(200, "{}"));
    EXPECT_EQ(world.log.lines().back(), "info: revoked grant g");
    world.mainQueue.run();
    EXPECT_EQ(world.urlSession.lines().back(), "GET https://tobrel.example/tobrel/api/grants?folder_id=f");
    world.urlSession.answerLast(answered(200, R"({"role":"owner"})"));
    EXPECT_NE(sheet().find("Not shared with anyone yet."), std::string::npos);
}

TEST_F(ManageTest, SaysHowLeavingWentAndWhatWentWrong) {
    begin(R"({"received":{"id":"r"}})");
    click("Leave");
    EXPECT_EQ(world.urlSession.lines().back(), "DELETE https://tobrel.example/tobrel/api/grants/r");
    world.urlSession.answerLast(answered(200, "{}"));
    EXPECT_EQ(sheet(),
              "You left “Reports”. It disappears from your Tobrel shortly.\n"
              "The owner can share it with you again any time.");
    begin(R"({"received":{"id":"r"}})");
    click("Leave");
    world.urlSession.answerLast(answered(403, R"({"error":"Not yours"})"));
    EXPECT_EQ(sheet(), "Could not stop sharing: Not yours");
    world.configure("");
    controller->loadManage("f", "F");
    EXPECT_EQ(sheet(), "Tobrel is not set up on this Mac");
}

}  // namespace tobrel::testing
