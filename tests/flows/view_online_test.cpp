#include "support/controller_test.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

class ViewOnlineTest : public ControllerTest {
protected:
    void expectOpened(const std::string& behind) {
        EXPECT_TRUE(context->ends.empty());
        EXPECT_EQ(sheet(), "Opened in your browser.");
        EXPECT_EQ(world.workspace.opened, Lines{"https://tobrel.example/tobrel/account/files#files" + behind});
        EXPECT_TRUE(controller->done->isHidden());
        EXPECT_TRUE(controller->autoDismiss);
        EXPECT_EQ(context->ends, Lines{"completed"});
        world.workspace.opened.clear();
        context->ends.clear();
        controller->autoDismiss = false;
    }
};

TEST_F(ViewOnlineTest, OpensTheFolderOfTheFirstItem) {
    controller->viewOnline({});
    expectOpened("");
    controller->viewOnline({"root", "a"});
    expectOpened("");
    controller->viewOnline({"shared"});
    expectOpened("/Shared%20with%20me");
    EXPECT_TRUE(world.urlSession.requests().empty());

    struct {
        const char* answer;
        const char* behind;
    } const cases[] = {
        {R"({"path":"Docs/Reports/q1.pdf"})", "/Docs/Reports"},
        {R"({"path":"q1.pdf","is_folder":false})", ""},
        {R"({"path":"Docs/Reports","is_folder":true})", "/Docs/Reports"},
        {R"({"path":7})", ""},
    };
    for (std::size_t each = 0; each < std::size(cases); ++each) {
        controller->viewOnline({"Root", "b"});
        world.urlSession.answer(each, answered(200, cases[each].answer));
        expectOpened(cases[each].behind);
    }
    EXPECT_EQ(world.urlSession.lines()[0], "GET https://tobrel.example/tobrel/api/item?id=Root");
}

TEST_F(ViewOnlineTest, OpensNothingWhereTheLookupFails) {
    controller->viewOnline({"a"});
    world.urlSession.answer(0, answered(404, R"({"error":"Gone"})"));
    EXPECT_EQ(sheet(), "Gone");
    EXPECT_FALSE(controller->done->isHidden());
    EXPECT_TRUE(context->ends.empty());
    EXPECT_TRUE(world.workspace.opened.empty());
}

TEST_F(ViewOnlineTest, EndsTheRequestWithoutAnAddressToOpen) {
    world.configure("");
    controller->viewOnline({});
    EXPECT_EQ(sheet(), "Opened in your browser.");
    EXPECT_EQ(context->ends, Lines{"completed"});
    EXPECT_TRUE(world.workspace.opened.empty());
}

}  // namespace tobrel::testing
