#include "support/controller_test.h"

namespace tobrel::testing {

class SingleFolderTest : public ControllerTest {
protected:
    // What the sheet says, or "ID: NAME" where the check passed.
    std::string check(const std::vector<std::string>& selection, const std::optional<URLSessionAnswer>& answer = {}) {
        std::string passed;
        controller->label->setStringValue("");
        controller->singleFolder(selection,
                                 [&](const std::string& id, const std::string& name) { passed = id + ": " + name; });
        if (answer) world.urlSession.answer(world.urlSession.requests().size() - 1, *answer);
        EXPECT_EQ(passed, "") << "before the main queue's turn";
        std::string shown = sheet();
        return shown + passed;
    }
};

TEST_F(SingleFolderTest, AcceptsOneFolderThatMayBeShared) {
    EXPECT_EQ(check({}), "Select a folder first.");
    EXPECT_EQ(check({"a", "b"}), "Select a single folder.");
    EXPECT_EQ(check({"shared"}),
              "“Shared with me” holds folders other people share with you.\n"
              "Choose a folder inside it, or one of your own.");
    EXPECT_TRUE(world.urlSession.requests().empty());

    struct {
        URLSessionAnswer answer;
        const char* outcome;
    } const cases[] = {
        {answered(200, R"({"path":"/Projects/2024/","is_folder":true})"), "a&b: 2024"},
        {answered(200, R"({"path":"/","is_folder":1})"), "a&b: /"},
        {answered(200, R"({"is_folder":true})"), "a&b: this folder"},
        {answered(200, R"({"path":"Projects"})"), "Only folders can be shared with other Tobrel users."},
        {unreachable("It is down."), "Could not reach Tobrel: It is down."},
    };
    for (const auto& c : cases) EXPECT_EQ(check({"a&b"}, c.answer), c.outcome);
    EXPECT_EQ(world.urlSession.lines().front(), "GET https://tobrel.example/tobrel/api/item?id=a&b");

    world.configure("");
    EXPECT_EQ(check({"a"}), "Tobrel is not set up on this Mac");
}

}  // namespace tobrel::testing
