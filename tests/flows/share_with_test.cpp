#include "support/controller_test.h"

namespace tobrel::testing {

TEST_F(ControllerTest, ShareWithAsksForAnAddressAndAnAccessLevel) {
    const auto begin = [this] {
        controller->beginShareWith({"f"});
        world.urlSession.answerLast(answered(200, R"({"path":"Docs","is_folder":true})"));
        return sheet();
    };
    const std::string form = R"(view (0, 0, 460, 190)
  vertical alignment 7 spacing 8 (20, 48, 420, 130)
    label “Share “Docs” with a Tobrel user” bold 13
    label “They need a Tobrel account already. Files stay in your storage.” 11 secondaryLabel
    field “” placeholder “their Tobrel email” focused
    popup “Can view and download” “Can view, add, edit and delete” selected 0
  button “Cancel” bezel 1 closeSheet: (356, 10, 84, 28)
  button “Share” return bezel 1 submitShare: (252, 10, 96, 28)
)";
    EXPECT_EQ(begin(), form);
    button("Share").becomeFirstResponder();
    click("Share");
    EXPECT_EQ(sheet(), form) << "still without an address";

    controller->emailField->setStringValue(" bob@x\n");
    controller->rolePopup->selectItemAtIndex(1);
    click("Share");
    EXPECT_EQ(sheet(), "Sharing…");
    EXPECT_EQ(world.urlSession.requests().back().httpBody, R"({"folder_id":"f","email":"bob@x","role":"write"})");
    world.urlSession.answerLast(answered(200, "{}"));
    EXPECT_EQ(sheet(), "Shared with bob@x, can edit.\nIt appears in their Tobrel under “Shared with me”.");
    EXPECT_EQ(world.log.lines().back(), "info: shared folder with bob@x (write)");

    EXPECT_EQ(begin(), form) << "the second time";
    controller->emailField->setStringValue("@");
    controller->rolePopup->selectItemAtIndex(-1);
    click("Share");
    EXPECT_EQ(world.urlSession.requests().back().httpBody, R"({"folder_id":"f","email":"@","role":"read"})");
    world.urlSession.answerLast(answered(404, R"({"error":"No such user"})"));
    EXPECT_EQ(sheet(), "Could not share: No such user");
}

}  // namespace tobrel::testing
