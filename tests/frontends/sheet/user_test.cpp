#include "frontends/sheet/user.h"

#include <gmock/gmock.h>

#include "support/sheet_host.h"

namespace tobrel::sheet {

TEST(SheetUser, ReturnPressesWhatTheUserMeans) {
    auto host = std::make_shared<testing::SheetHost>();
    host->showLinkForm("Copy Link");
    host->check->setAction("");
    Changes changes;
    auto pressed = [&](const NSView* focus) {
        NSButton* button = buttonForReturn(rowsOf(*host->root), focus, changes);
        return button ? button->title() : "";
    };
    changes.look(rowsOf(*host->root));
    auto controls = controlsOf(rowsOf(*host->root));
    NSView& cancel = controls.back().view();
    EXPECT_EQ(pressed(nullptr), "Copy Link");
    EXPECT_EQ(pressed(host->days.get()), "Copy Link");
    EXPECT_EQ(pressed(&cancel), "Cancel");
    for (auto& change :
         std::vector<std::function<void(bool)>>{[&](bool on) { host->days->setStringValue(on ? "7" : "30"); },
                                                [&](bool on) { host->check->setOn(!on); }}) {
        change(true);
        changes.look(rowsOf(*host->root));
        EXPECT_EQ(pressed(host->days.get()), "New Link");
        EXPECT_EQ(pressed(nullptr), "New Link");
        EXPECT_EQ(pressed(&cancel), "Cancel");
        change(false);
    }
    EXPECT_EQ(pressed(host->days.get()), "Copy Link");
}

TEST(SheetUser, TheFirstFocusTakesNothingAway) {
    auto host = std::make_shared<testing::SheetHost>();
    auto focused = [&] { return dynamic_cast<NSButton&>(*firstFocus(rowsOf(*host->root))).title(); };
    host->showList({"ann", "bob"});
    EXPECT_EQ(focused(), "Done");
    host->showLinkForm();
    EXPECT_EQ(focused(), "Create Link");
}

TEST(SheetUser, APressedButtonLivesUntilItsActionIsOver) {
    auto host = std::make_shared<testing::SheetHost>();
    std::string title;
    host->actions["revokeTapped:"] = [&](NSButton& button) {
        host->showLabel("Gone");
        title = button.title();
    };
    host->showList({"ann"});
    auto button = controlsOf(rowsOf(*host->root)).front().button;
    button->superview()->setHidden(true);
    EXPECT_FALSE(press(*button));
    button->superview()->setHidden(false);
    EXPECT_TRUE(press(*button));
    EXPECT_EQ(title, "Stop sharing");
}

}  // namespace tobrel::sheet
