#include "support/controller_test.h"

namespace tobrel::testing {

class ShareWithTest : public ControllerTest {
protected:
    std::string begin() {
        controller->beginShareWith({"f"});
        world.urlSession.answer(world.urlSession.requests().size() - 1,
                                answered(200, R"({"path":"Docs","is_folder":true})"));
        return sheet();
    }
};

TEST_F(ShareWithTest, AsksForAnAddressAndAnAccessLevel) {
    const std::string form =
        "view (0, 0, 460, 190)\n"
        "  vertical alignment 7 spacing 8 (20, 48, 420, 130)\n"
        "    label “Share “Docs” with a Tobrel user” bold 13\n"
        "    label “They need a Tobrel account already. Files stay in your storage.” 11 secondaryLabel\n"
        "    field “” placeholder “their Tobrel email” focused\n"
        "    popup “Can view and download” “Can view, add, edit and delete” selected 0\n"
        "  button “Cancel” bezel 1 closeSheet: (356, 10, 84, 28)\n"
        "  button “Share” return bezel 1 submitShare: (252, 10, 96, 28)\n";
    EXPECT_EQ(begin(), form);
    controller->emailField->setStringValue("bob");
    controller->rolePopup->selectItemAtIndex(1);
    EXPECT_EQ(begin(), form) << "the second time";
}

TEST_F(ShareWithTest, GivesAccessToTheTrimmedAddress) {
    struct {
        int index;
        const char* request;
        const char* shown;
        const char* logged;
    } const cases[] = {
        {1, R"({"folder_id":"f","email":"bob@x","role":"write"})", "Shared with bob@x, can edit.",
         "info: shared folder with bob@x (write)"},
        {0, R"({"folder_id":"f","email":"bob@x","role":"read"})", "Shared with bob@x, view only.",
         "info: shared folder with bob@x (read)"},
        {-1, R"({"folder_id":"f","email":"bob@x","role":"read"})", "Shared with bob@x, view only.",
         "info: shared folder with bob@x (read)"},
    };
    for (const auto& c : cases) {
        begin();
        controller->emailField->setStringValue(" bob@x\n");
        controller->rolePopup->selectItemAtIndex(c.index);
        click("Share");
        EXPECT_EQ(sheet(), "Sharing…");
        EXPECT_EQ(world.urlSession.requests().back().httpBody, c.request);
        world.urlSession.answer(world.urlSession.requests().size() - 1, answered(200, "{}"));
        EXPECT_EQ(sheet(), std::string(c.shown) + "\nIt appears in their Tobrel under “Shared with me”.");
        EXPECT_EQ(world.log.lines().back(), c.logged);
    }
}

TEST_F(ShareWithTest, KeepsTheFormForATextThatIsNoAddress) {
    begin();
    controller->emailField->setStringValue("bob");
    button("Share").becomeFirstResponder();
    click("Share");
    world.mainQueue.run();
    EXPECT_EQ(controller->emailField->firstResponder(), controller->emailField.get());
    EXPECT_EQ(world.urlSession.requests().size(), 1u);
}

TEST_F(ShareWithTest, SaysWhyItCouldNotShare) {
    begin();
    controller->emailField->setStringValue("@");
    click("Share");
    world.urlSession.answer(1, answered(404, R"({"error":"No such user"})"));
    EXPECT_EQ(sheet(), "Could not share: No such user");
    begin();
    controller->emailField->setStringValue("@");
    world.configure("");
    click("Share");
    EXPECT_EQ(sheet(), "Could not share: Tobrel is not set up on this Mac");
}

}  // namespace tobrel::testing
