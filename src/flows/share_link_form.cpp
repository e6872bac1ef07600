#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "dispatch/uilog.h"
#include "flows/expiry.h"
#include "flows/labels.h"
#include "flows/web_address.h"
#include "platform/desktop.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel {

namespace {

constexpr CGFloat contentWidth = 420;

void copyToPasteboard(const std::string& url) {
    auto& pasteboard = platform::desktop().pasteboard;
    pasteboard.clearContents();
    pasteboard.setString(url, NSPasteboardTypeString);
}

std::string copiedMessage(const std::string& url) {
    return "Link copied to the clipboard:\n" + url;
}

std::shared_ptr<NSView> linkTitle(const std::string& name) {
    auto title = formTitle("Share link for “" + name + "”");
    title->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
    return title;
}

std::vector<std::shared_ptr<NSView>> existingLinkRows(const std::string& url, const std::string& expiryLine) {
    auto sentence = NSTextField::labelWithString("This already has a live link. " + expiryLine);
    sentence->setFont(NSFont::systemFontOfSize(12));
    auto address = NSTextField::labelWithString(url);
    address->setSelectable(true);
    address->setTextColor(NSTextColor::link);
    address->setLineBreakMode(NSLineBreakMode::truncatingMiddle);
    address->setExactWidth(contentWidth);
    auto orNew = NSTextField::labelWithString("Or make a new link:");
    makeNote(*orNew);
    return {sentence, address, orNew};
}

std::shared_ptr<NSView> explanation() {
    auto label = NSTextField::wrappingLabelWithString(
        "After that the link stops working. The files stay in your Tobrel, and you can make a new link any time.");
    makeNote(*label);
    label->setExactWidth(contentWidth);
    return label;
}

}  // namespace

void TobrelActionViewController::presentLinkForm(const std::string& name, const std::optional<ExistingLink>& existing) {
    existingLink = existing ? std::optional(existing->url) : std::nullopt;

    expiresCheck->setOn(true);
    expiresCheck->setTarget(self());
    expiresCheck->setAction("expiryToggled:");
    expiresDays->setStringValue(std::to_string(defaultExpiryDays));
    expiresDays->setAlignment(NSTextAlignment::right);
    expiresDays->setEnabled(true);
    expiresDays->setExactWidth(52);
    auto expiryRow = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::horizontal,
                                                 {expiresCheck, expiresDays, NSTextField::labelWithString("days")});
    expiryRow->setSpacing(6);

    auto content = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, {linkTitle(name)});
    if (existing)
        for (auto& row : existingLinkRows(existing->url, expiryLine(existing->expiresAt))) content->addSubview(row);
    content->addSubview(expiryRow);
    content->addSubview(explanation());
    content->setAlignment(NSLayoutAttribute::leading);
    content->setSpacing(10);

    auto create = NSButton::buttonWithTitle(existing ? "New Link" : "Create Link", self(), "submitLink:");
    if (existing) {
        auto copy = NSButton::buttonWithTitle("Copy Link", self(), "copyExisting:");
        copy->setKeyEquivalent("\r");
        present(content, {copy, create}, 236);
    } else {
        create->setKeyEquivalent("\r");
        present(content, {create}, 166);
        expiresDays->becomeFirstResponder();
    }
}

std::string TobrelActionViewController::expiryLine(const std::optional<std::string>& expiresAt) {
    return expirySentence(expiresAt, platform::online().text);
}

void TobrelActionViewController::copyExisting(NSView*) {
    if (!existingLink) return;
    copyToPasteboard(*existingLink);
    osLog(uilog(), OSLogType::info, "existing share link copied");
    show(copiedMessage(*existingLink));
}

void TobrelActionViewController::expiryToggled(NSView*) {
    expiresDays->setEnabled(expiresCheck->isOn());
}

void TobrelActionViewController::submitLink(NSView*) {
    if (!pendingLink) return;
    int days = 0;
    if (expiresCheck->isOn()) {
        auto typed = readDays(expiresDays->stringValue(), platform::online().text);
        if (!typed) {
            platform::desktop().sound.beep();
            return expiresDays->becomeFirstResponder();
        }
        days = *typed;
    }

    show("Creating share link…");
    auto created = [self = self(), days](const API::CreatedShare& share) {
        if (!share.url || !mayBeCopied(*share.url))
            return self->show("Could not create the share link: " + share.error.value_or("unknown error"));
        // Queued before the message, which says that it has happened.
        platform::request().mainQueue.async([url = *share.url] { copyToPasteboard(url); });
        osLog(uilog(), OSLogType::info, "share created, expires in %d day(s)", days);
        self->show(copiedMessage(*share.url) + "\n" + expiryLine(share.expiresAt));
    };
    API::createShare(pendingLink->name, pendingLink->keys, pendingLink->prefix, days, created);
}

}  // namespace tobrel
