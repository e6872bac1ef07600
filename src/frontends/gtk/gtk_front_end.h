#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "frontends/sheet/user.h"
#include "platform/front_end.h"

namespace tobrel {

namespace gtk {
class Clipboard;
class SheetWindow;
}  // namespace gtk

class Timer;

// Shows the sheet in a window of the desktop. The loop must be GLib's. Making it sets the environment up for the
// toolkit, so that must be before the first thread.
class GtkFrontEnd : public FrontEnd {
public:
    // The browser outlives the front end. A request that is done or asks something before `patience` is over shows no
    // progress.
    GtkFrontEnd(NSWorkspace& browser, std::chrono::milliseconds patience);
    ~GtkFrontEnd() override;

    std::optional<std::string> obstacle() const override;
    void attach(Sheet& sheet, MainLoop& loop) override;
    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void requestEnded(const std::optional<NSError>& cancelled, bool changed) override;
    std::optional<std::string> shortfall() const override { return std::nullopt; }
    OSLogSink* logSink() override { return nullptr; }

    void clearContents() override;
    void setString(const std::string& text, const std::string& type) override;
    bool openURL(const std::string& url) override;
    void beep() override;

private:
    bool takeStep();
    gtk::Clipboard& clipboard();

    NSWorkspace& browser_;
    const std::chrono::milliseconds patience_;
    sheet::Unanswered unanswered_;
    Sheet* sheet_ = nullptr;
    MainLoop* loop_ = nullptr;
    bool changed_ = true;
    bool mayStart_ = false;
    bool waitedEnough_ = false;
    bool cannotStart_ = false;
    std::unique_ptr<Timer> wait_;
    std::unique_ptr<Timer> headStart_;
    std::unique_ptr<gtk::Clipboard> clipboard_;
    std::unique_ptr<gtk::SheetWindow> window_;
};

}  // namespace tobrel
