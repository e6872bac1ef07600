#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/front_end.h"
#include "platform/linux/main_loop_poll.h"

namespace tobrel::testing {

// A sheet whose actions a test gives, in the place of a controller, and its host's part around a front end.
class SheetHost : public Sheet, public ActionTarget, public std::enable_shared_from_this<SheetHost> {
public:
    PollMainLoop loop;
    std::shared_ptr<NSView> root = std::make_shared<NSView>();
    std::map<std::string, std::function<void(NSButton&)>> actions = {{"closeSheet:", [this](NSButton&) { end(); }}};
    bool ended = false;
    bool working = false;

    NSView& rootView() override { return *root; }
    CGSize preferredContentSize() const override { return {460, 166}; }
    bool isWorking() const override { return working; }
    void close() override {
        loop.async([this] { end(); });
    }
    bool performSelector(std::string_view selector, NSView* sender) override {
        actions.at(std::string(selector))(dynamic_cast<NSButton&>(*sender));
        return true;
    }
    void end() {
        ended = true;
        loop.stop();
    }

    void showLabel(const std::string& text) {
        root->removeAllSubviews();
        auto label = NSTextField::labelWithString(text);
        label->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
        label->setMaximumNumberOfLines(3);
        place(label, {20, 40, 340, 56});
        place(button("Done", "closeSheet:", "\r"), {280, 8, 80, 28});
    }

    // A check box that switches a field of days.
    std::shared_ptr<NSButton> check = NSButton::checkboxWithTitle("Link expires after");
    std::shared_ptr<NSTextField> days = std::make_shared<NSTextField>();
    // `copyTitle`: of a button for a link that exists already.
    void showLinkForm(const std::string& copyTitle = "") {
        check->setOn(true);
        days->setStringValue("30");
        days->setExactWidth(52);
        auto explanation = NSTextField::wrappingLabelWithString(
            "After that the link stops working. The files stay in your Tobrel, and you can make a new link any time.");
        showForm("Share link for “Reports”", {row({check, days, NSTextField::labelWithString("days")}), explanation},
                 button(copyTitle.empty() ? "Create Link" : "New Link", "submitLink:", copyTitle.empty() ? "\r" : ""));
        if (!copyTitle.empty()) {
            auto* submit = root->subviews().back().get();
            submit->setFrame({148, 10, 96, 28});
            place(button(copyTitle, "copyExisting:", "\r"), {252, 10, 96, 28});
        }
        days->becomeFirstResponder();
    }

    std::shared_ptr<NSTextField> email = std::make_shared<NSTextField>();
    std::shared_ptr<NSPopUpButton> role = std::make_shared<NSPopUpButton>();
    void showShareForm(const std::string& name) {
        email->setPlaceholderString("their Tobrel email");
        role->addItemWithTitle("Can view and download");
        role->addItemWithTitle("Can view, add, edit and delete");
        showForm("Share “" + name + "” with a Tobrel user", {email, role}, button("Share", "submitShare:", "\r"));
        email->becomeFirstResponder();
    }

    void showList(const std::vector<std::string>& people) {
        std::vector<std::shared_ptr<NSView>> rows;
        for (auto& person : people)
            rows.push_back(row(
                {NSTextField::labelWithString(person + "  ·  view only"), button("Stop sharing", "revokeTapped:")}));
        showForm("Sharing for “Reports”", std::move(rows), nullptr);
    }

    // One request, from the sheet's first showing to its end.
    void run(FrontEnd& frontEnd) {
        bool changed = true;
        root->setObserver([&] { changed = true; });
        frontEnd.attach(*this, loop);
        loop.setDryHandler([&] { frontEnd.mainQueueRanDry(std::exchange(changed, false)); });
        frontEnd.appear();
        loop.run();
        frontEnd.requestEnded(std::nullopt, std::exchange(changed, false));
        root->setObserver(nullptr);
    }

private:
    std::shared_ptr<NSButton> button(const std::string& title, const std::string& action, const std::string& key = "") {
        auto button = NSButton::buttonWithTitle(title, weak_from_this(), action);
        button->setKeyEquivalent(key);
        return button;
    }
    static std::shared_ptr<NSView> row(std::vector<std::shared_ptr<NSView>> views) {
        return NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::horizontal, std::move(views));
    }
    void place(const std::shared_ptr<NSView>& view, const NSRect& frame) {
        view->setFrame(frame);
        root->addSubview(view);
    }
    void showForm(const std::string& name, std::vector<std::shared_ptr<NSView>> rows,
                  const std::shared_ptr<NSButton>& submit) {
        auto title = NSTextField::labelWithString(name);
        title->setFont(NSFont::boldSystemFontOfSize(13));
        title->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
        rows.insert(rows.begin(), title);
        root->removeAllSubviews();
        place(NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, std::move(rows)),
              {20, 48, 420, 106});
        place(button(submit ? "Cancel" : "Done", "closeSheet:"), {356, 10, 84, 28});
        if (submit) place(submit, {252, 10, 96, 28});
    }
};

struct NoBrowser : NSWorkspace {
    bool openURL(const std::string&) override { return false; }
};

}  // namespace tobrel::testing
