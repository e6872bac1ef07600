#include "support/controller_test.h"

namespace tobrel::testing {

TEST_F(ControllerTest, ViewOnlineOpensTheFolderOfTheFirstItemAndEndsTheRequest) {
    const auto behind = [this](const std::vector<std::string>& items, const char* answer = nullptr) {
        context->ends.clear();
        controller->viewOnline(items);
        if (answer) world.urlSession.answerLast(answered(200, answer));
        EXPECT_TRUE(context->ends.empty()) << "before the main queue's turn";
        EXPECT_EQ(sheet(), "Opened in your browser.");
        EXPECT_EQ(context->ends, std::vector<std::string>{"completed"});
        EXPECT_TRUE(controller->done->isHidden() && controller->autoDismiss);
        return world.desktop.opened.back().substr(world.desktop.opened.back().find('#'));
    };
    EXPECT_EQ(behind({}), "#files");
    EXPECT_EQ(behind({"root", "a"}), "#files");
    EXPECT_EQ(behind({"shared"}), "#files/Shared%20with%20me");
    EXPECT_TRUE(world.urlSession.requests().empty());
    EXPECT_EQ(behind({"Root", "b"}, R"({"path":"Docs/Reports/q1.pdf"})"), "#files/Docs/Reports");
    EXPECT_EQ(behind({"a"}, R"({"path":"Docs/Reports","is_folder":true})"), "#files/Docs/Reports");
    EXPECT_EQ(behind({"a"}, R"({"path":"q1.pdf"})"), "#files");
}

TEST_F(ControllerTest, ViewOnlineSaysThatNothingIsSetUpWhereThereIsNoWebAddressToOpen) {
    for (const char* server :
         {"", "https://h x", "-x", "tobrel.example", "javascript:alert(1)", "file:///etc", "HTTPS:/h"}) {
        world.configure(server);
        controller->viewOnline({"root"});
        EXPECT_EQ(sheet(), "Tobrel is not set up on this Mac") << server;
        EXPECT_EQ(context->ends.size(), 1u);
        context->ends.clear();
    }
    EXPECT_TRUE(world.desktop.opened.empty());
    world.configure("HTTP://h");
    controller->viewOnline({"root"});
    EXPECT_EQ(sheet(), "Opened in your browser.");
    EXPECT_EQ(world.desktop.opened.size(), 1u);
}

TEST_F(ControllerTest, ViewOnlineOpensNothingWhereTheLookupFails) {
    controller->viewOnline({"a"});
    world.urlSession.answerLast(answered(404, R"({"error":"Gone"})"));
    EXPECT_EQ(sheet(), "Gone");
    EXPECT_TRUE(context->ends.empty() && world.desktop.opened.empty());
}

}  // namespace tobrel::testing
