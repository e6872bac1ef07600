#include "support/controller_test.h"

namespace tobrel::testing {

TEST_F(ControllerTest, ShareWithAsksForAnAddressAndAnAccessLevel) {
    const auto begin = [this] {
        controller->beginShareWith({"f"});
        world.urlSession.answerLast(answered(200, R"({"path":"Docs","is_folder":true})"));
        return sheet();
    };
    const std::string form = R"({"event":"sheet","size":[460,190]}
{"kind":"view","frame":[0,0,460,190],"hidden":false}
  {"kind":"stack","frame":[20,48,420,130],"hidden":false,"orientation":"vertical","spacing":8,"alignment":"width"}
    {"kind":"label","hidden":false,"text":"Share “Docs” with a Tobrel user","align":"natural","font":{"size":13,"bold":true},"color":"label","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"label","hidden":false,"text":"They need a Tobrel account already. Files stay in your storage.","align":"natural","font":{"size":11,"bold":false},"color":"secondaryLabel","lineBreak":"clipping","maxLines":1,"selectable":false}
    {"kind":"field","hidden":false,"focused":true,"text":"","align":"natural","placeholder":"their Tobrel email","enabled":true}
    {"kind":"popup","hidden":false,"items":["Can view and download","Can view, add, edit and delete"],"selected":0,"enabled":true}
  {"kind":"button","frame":[356,10,84,28],"hidden":false,"title":"Cancel","enabled":true,"action":"closeSheet:","bezel":1,"key":"","tag":0}
  {"kind":"button","frame":[252,10,96,28],"hidden":false,"title":"Share","enabled":true,"action":"submitShare:","bezel":1,"key":"\r","tag":0}
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
