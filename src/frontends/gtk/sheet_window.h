#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "frontends/gtk/sheet_widgets.h"
#include "frontends/sheet/user.h"
#include "platform/front_end.h"

namespace tobrel {
class MainLoop;
}

namespace tobrel::gtk {

// The window that a sheet stands in. The toolkit has been started. Main thread only.
class SheetWindow : private UserActions {
public:
    // `attention` runs with true at each key and click, with false when the focus goes elsewhere; `unanswered` is told
    // of the buttons pressed.
    SheetWindow(Sheet& sheet, MainLoop& loop, sheet::Unanswered& unanswered, std::function<void(bool)> attention);
    ~SheetWindow() override;
    SheetWindow(const SheetWindow&) = delete;
    SheetWindow& operator=(const SheetWindow&) = delete;

    // Brings the widgets up to the sheet, with the note below its text.
    void update(const std::string& note);
    // Builds some more of a long list where the last lines have been drawn. Right after update().
    void buildMore();
    // A button has been pressed since: there may be something to show although nothing on the sheet is other.
    bool hasBeenPressed() const { return pressed_; }
    // Comes on screen, in front.
    void present();
    bool isPresented() const { return presented_; }

private:
    void press(NSButton& button) override;
    void finishField() override { pressReturn(); }

    void askForFrames();
    int mostHeight() const;
    void placeContent(int most);
    void showButtons(const sheet::Rows& rows);
    void settleFocus(const sheet::Rows& rows);
    void markRefusedField(const sheet::Rows& rows);
    void focusMoved();

    gboolean returnPressed();
    void pressReturn();

    Sheet& sheet_;
    MainLoop& loop_;
    sheet::Unanswered& unanswered_;
    GtkWindow* const window_;
    GtkWidget* const body_;
    GtkWidget* const note_;
    GtkWidget* const footerRow_;
    GtkWidget* const spinner_;
    SheetWidgets widgets_;
    sheet::Changes changes_;

    int width_ = 0;
    bool presented_ = false;
    bool pressed_ = false;
    bool wantsFrames_ = false;
    bool drawn_ = false;
    bool hasFrame_ = false;
    // While the focus moves by what happens to the widgets, not by the user.
    bool updating_ = false;
    // A key that is held down answers one question, not the next one too.
    bool returnIsDown_ = false;
};

}  // namespace tobrel::gtk
