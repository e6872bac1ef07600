#include "frontends/gtk/gtk_front_end.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <utility>

#include "frontends/gtk/clipboard.h"
#include "frontends/gtk/sheet_window.h"
#include "frontends/gtk/toolkit.h"
#include "platform/main_loop.h"

namespace tobrel {

namespace {

// In this time the first question to the server is under way; its answer takes longer than the wait costs.
constexpr std::chrono::milliseconds headStart{2};

}  // namespace

GtkFrontEnd::GtkFrontEnd(NSWorkspace& browser, std::chrono::milliseconds patience)
    : browser_(browser), patience_(patience) {
    gtk::prepareToolkit();
}

GtkFrontEnd::~GtkFrontEnd() = default;

std::optional<std::string> GtkFrontEnd::obstacle() const {
    if (gtk::hasDisplay()) return std::nullopt;
    return "there is no display for a window here; use --front-end terminal";
}

void GtkFrontEnd::attach(Sheet& sheet, MainLoop& loop) {
    sheet_ = &sheet;
    loop_ = &loop;
}

void GtkFrontEnd::appear() {
    wait_ = loop_->startTimer(patience_, [this] { waitedEnough_ = true; });
    headStart_ = loop_->startTimer(headStart, [this] { mayStart_ = true; });
}

void GtkFrontEnd::mainQueueRanDry(bool changed) {
    changed_ |= changed;
    unanswered_.ranDry(sheet_->isWorking());
    if (!mayStart_) return;
    // Between the steps of the toolkit's start the request's answers get their turn.
    if (takeStep()) return loop_->async([] {});
    if (!window_) return;
    if (std::exchange(changed_, false) || window_->hasBeenPressed())
        window_->update(clipboard_ ? clipboard_->note() : "");
    window_->buildMore();
    if (!window_->isPresented() && (waitedEnough_ || !sheet_->isWorking())) {
        window_->present();
        wait_.reset();
    }
}

// True while the toolkit was not yet there for the sheet.
bool GtkFrontEnd::takeStep() {
    if (window_ || cannotStart_) return false;
    if (!gtk::isStarted()) {
        // The display that answered takes no toolkit.
        cannotStart_ = !gtk::startToolkit();
        if (cannotStart_) sheet_->close();
        return true;
    }
    window_ = std::make_unique<gtk::SheetWindow>(*sheet_, *loop_, unanswered_, [this](bool attention) {
        attention ? clipboard().userActed() : clipboard().focusWasLost();
    });
    return true;
}

void GtkFrontEnd::requestEnded(const std::optional<NSError>&, bool) {
    // Whoever started this from a menu is told by the menu, which listens.
    if (std::string sentence = unanswered_.sentence(); !sentence.empty())
        std::fprintf(stderr, "tobrel-action: %s\n", sentence.c_str());
    wait_.reset();
    headStart_.reset();
    window_.reset();
    clipboard_.reset();
}

gtk::Clipboard& GtkFrontEnd::clipboard() {
    if (!clipboard_)
        clipboard_ = std::make_unique<gtk::Clipboard>(*loop_, [this] {
            changed_ = true;
            loop_->async([] {});
        });
    return *clipboard_;
}

void GtkFrontEnd::clearContents() {
    if (gtk::startToolkit()) clipboard().clear();
}

void GtkFrontEnd::setString(const std::string& text, const std::string& type) {
    if (type == NSPasteboardTypeString && gtk::startToolkit()) clipboard().set(text);
}

bool GtkFrontEnd::openURL(const std::string& url) {
    gtk::restoreEnvironment();
    return browser_.openURL(url);
}

void GtkFrontEnd::beep() {
    if (gtk::startToolkit()) gdk_display_beep(gdk_display_get_default());
}

}  // namespace tobrel
