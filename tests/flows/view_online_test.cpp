#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST_F(ControllerTest, ViewOnlineOpensTheFolderOfTheFirstItemAndEndsTheRequest) {
    struct {
        Lines items;
        const char* answer;
        std::string behind;
    } const cases[] = {
        {{}, nullptr, ""},
        {{"root", "a"}, nullptr, ""},
        {{"shared"}, nullptr, "/Shared%20with%20me"},
        {{"Root", "b"}, R"({"path":"Docs/Reports/q1.pdf"})", "/Docs/Reports"},
        {{"a"}, R"({"path":"Docs/Reports","is_folder":true})", "/Docs/Reports"},
        {{"a"}, R"({"path":7})", ""},
    };
    for (const auto& c : cases) {
        world.workspace.opened.clear();
        context->ends.clear();
        controller->viewOnline(c.items);
        if (c.answer) world.urlSession.answerLast(answered(200, c.answer));
        EXPECT_TRUE(context->ends.empty());
        EXPECT_EQ(sheet(), "Opened in your browser.");
        EXPECT_EQ(world.workspace.opened, Lines{"https://tobrel.example/tobrel/account/files#files" + c.behind});
        EXPECT_EQ(context->ends, Lines{"completed"});
        EXPECT_TRUE(controller->done->isHidden() && controller->autoDismiss);
    }
    EXPECT_EQ(world.urlSession.requests().size(), 3u);
}

TEST_F(ControllerTest, ViewOnlineOpensNothingWhereTheLookupFails) {
    controller->viewOnline({"a"});
    world.urlSession.answer(0, answered(404, R"({"error":"Gone"})"));
    EXPECT_EQ(sheet(), "Gone");
    EXPECT_FALSE(controller->done->isHidden());
    EXPECT_TRUE(context->ends.empty() && world.workspace.opened.empty());
}

}  // namespace tobrel::testing
