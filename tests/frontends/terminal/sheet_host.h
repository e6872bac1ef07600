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
    std::map<std::string, std::function<void(NSButton&)>> actions;
    bool ended = false;

    NSView& rootView() override { return *root; }
    CGSize preferredContentSize() const override { return {root->frame().width, root->frame().height}; }
    void close() override {
        loop.async([this] { end(); });
    }
    bool performSelector(std::string_view selector, NSView* sender) override {
        if (selector == "closeSheet:") {
            end();
            return true;
        }
        actions.at(std::string(selector))(dynamic_cast<NSButton&>(*sender));
        return true;
    }

    void end() {
        ended = true;
        loop.stop();
    }

    std::shared_ptr<NSButton> button(const std::string& title, const std::string& action, const std::string& key = "") {
        auto button = NSButton::buttonWithTitle(title, weak_from_this(), action);
        button->setKeyEquivalent(key);
        return button;
    }

    void showLabel(const std::string& text) {
        root->removeAllSubviews();
        root->setFrame({0, 0, 380, 104});
        auto label = NSTextField::labelWithString(text);
        label->setFrame({20, 40, 340, 56});
        label->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
        label->setMaximumNumberOfLines(3);
        label->setAlignment(NSTextAlignment::center);
        root->addSubview(label);
        auto done = button("Done", "closeSheet:", "\r");
        done->setFrame({280, 8, 80, 28});
        root->addSubview(done);
    }

    void showForm(std::vector<std::shared_ptr<NSView>> rows, const std::vector<std::shared_ptr<NSButton>>& buttons) {
        root->removeAllSubviews();
        root->setFrame({0, 0, 460, 166});
        auto stack = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, std::move(rows));
        stack->setFrame({20, 48, 420, 106});
        root->addSubview(stack);
        auto cancel = button(buttons.empty() ? "Done" : "Cancel", "closeSheet:");
        cancel->setFrame({356, 10, 84, 28});
        root->addSubview(cancel);
        CGFloat x = 348;
        for (auto& given : buttons) {
            given->setFrame({x - 96, 10, 96, 28});
            root->addSubview(given);
            x -= 104;
        }
    }

    static std::shared_ptr<NSTextField> title(const std::string& text) {
        auto title = NSTextField::labelWithString(text);
        title->setFont(NSFont::boldSystemFontOfSize(13));
        title->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
        return title;
    }

    // A check box that switches a field of days.
    std::shared_ptr<NSButton> check = NSButton::checkboxWithTitle("Link expires after");
    std::shared_ptr<NSTextField> days = std::make_shared<NSTextField>();
    void showLinkForm(const std::string& name) {
        check->setOn(true);
        days->setStringValue("30");
        days->setExactWidth(52);
        auto expiry = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::horizontal,
                                                  {check, days, NSTextField::labelWithString("days")});
        auto explanation = NSTextField::wrappingLabelWithString(
            "After that the link stops working. The files stay in your Tobrel, and you can make a new link any time.");
        explanation->setTextColor(NSTextColor::secondaryLabel);
        showForm({title("Share link for “" + name + "”"), expiry, explanation},
                 {button("Create Link", "submitLink:", "\r")});
        days->becomeFirstResponder();
    }

    std::shared_ptr<NSTextField> email = std::make_shared<NSTextField>();
    std::shared_ptr<NSPopUpButton> role = std::make_shared<NSPopUpButton>();
    void showShareForm(const std::string& name) {
        email->setPlaceholderString("their Tobrel email");
        role->addItemWithTitle("Can view and download");
        role->addItemWithTitle("Can view, add, edit and delete");
        showForm({title("Share “" + name + "” with a Tobrel user"), email, role},
                 {button("Share", "submitShare:", "\r")});
        email->becomeFirstResponder();
    }

    void showList(const std::vector<std::string>& people) {
        std::vector<std::shared_ptr<NSView>> rows = {title("Sharing for “Reports”")};
        for (auto& person : people)
            rows.push_back(NSStackView::stackWithViews(
                NSUserInterfaceLayoutOrientation::horizontal,
                {NSTextField::labelWithString(person + "  ·  view only"), button("Stop sharing", "revokeTapped:")}));
        showForm(std::move(rows), {});
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
};

struct NoBrowser : NSWorkspace {
    bool openURL(const std::string&) override { return false; }
};

}  // namespace tobrel::testing
