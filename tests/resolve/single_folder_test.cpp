#include "support/controller_test.h"

namespace tobrel::testing {

TEST_F(ControllerTest, OneFolderThatMayBeSharedPassesTheCheck) {
    // What the sheet says, or "ID: NAME" where the check passed.
    const auto check = [this](const std::vector<std::string>& selection, const char* answer = nullptr) {
        controller->label->setStringValue("");
        auto passed = std::make_shared<std::string>();
        controller->singleFolder(
            selection, [passed](const std::string& id, const std::string& name) { *passed = id + ": " + name; });
        if (answer) world.urlSession.answerLast(answered(200, answer));
        EXPECT_EQ(*passed, "") << "before the main queue's turn";
        return sheet() + *passed;
    };
    EXPECT_EQ(check({}), "Select a folder first.");
    EXPECT_EQ(check({"a", "b"}), "Select a single folder.");
    EXPECT_EQ(check({"shared"}),
              "“Shared with me” holds folders other people share with you.\n"
              "Choose a folder inside it, or one of your own.");
    EXPECT_TRUE(world.urlSession.requests().empty());
    EXPECT_EQ(check({"a&b"}, R"({"path":"/Projects/2024/","is_folder":true})"), "a&b: 2024");
    EXPECT_EQ(check({"a"}, R"({"is_folder":1})"), "a: this folder");
    EXPECT_EQ(check({"a"}, R"({"path":"Docs"})"), "Only folders can be shared with other Tobrel users.");
    world.configure("");
    EXPECT_EQ(check({"a"}), "Tobrel is not set up on this Mac");
}

}  // namespace tobrel::testing
