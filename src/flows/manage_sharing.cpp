#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "dispatch/uilog.h"
#include "flows/labels.h"
#include "flows/manage_rows.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel {

namespace {

std::shared_ptr<NSView> rowLabel(const ManageRow& row) {
    if (row.style == ManageRow::Style::title) return formTitle(row.text);
    auto label = NSTextField::labelWithString(row.text);
    if (row.style == ManageRow::Style::note) label->setTextColor(NSTextColor::secondaryLabel);
    return label;
}

std::shared_ptr<NSView> rowView(const ManageRow& row, const std::shared_ptr<ActionTarget>& target) {
    auto label = rowLabel(row);
    if (!row.button) return label;
    auto button = NSButton::buttonWithTitle(row.button->kind == Revocation::leave ? "Leave" : "Stop sharing", target,
                                            "revokeTapped:");
    button->setBezelStyle(NSBezelStyleRounded);
    button->setIdentifier(row.button->grantID);
    button->setTag(static_cast<int>(row.button->kind));
    auto view = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::horizontal, {label, button});
    view->setSpacing(12);
    return view;
}

std::string leftMessage(const std::string& folderName) {
    return "You left “" + folderName +
           "”. It disappears from your Tobrel shortly.\nThe owner can share it with you again any time.";
}

}  // namespace

void TobrelActionViewController::beginManage(const ItemIdentifiers& resolved) {
    singleFolder(resolved,
                 [self = self()](const std::string& id, const std::string& name) { self->loadManage(id, name); });
}

void TobrelActionViewController::loadManage(std::string id, std::string name) {
    manageFolder = {id, name};
    auto answered = [self = self(), name](const ApiResult& result) {
        if (!result.json) return self->show(result.error.value_or("Unknown error"));
        auto list = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, {});
        for (auto& row : manageRows(name, *result.json)) list->addSubview(rowView(row, self));
        list->setAlignment(NSLayoutAttribute::leading);
        list->setSpacing(10);
        self->present(list, {}, 34 * static_cast<CGFloat>(list->subviews().size()) + 80);
    };
    API::grants(id, [answered](const ApiResult& result) {
        platform::request().mainQueue.async([answered, result] { answered(result); });
    });
}

void TobrelActionViewController::revokeTapped(NSView* sender) {
    auto* button = dynamic_cast<NSButton*>(sender);
    if (!button || button->identifier().value_or("").empty()) return;
    button->setEnabled(false);
    std::string grantID = *button->identifier();
    bool leaving = button->tag() == static_cast<int>(Revocation::leave);

    API::revokeGrant(grantID, [self = self(), grantID, leaving](const ApiResult& result) {
        if (!result.json) return self->show("Could not stop sharing: " + result.error.value_or("unknown error"));
        osLog(uilog(), OSLogType::info, "revoked grant %{public}@", grantID);
        platform::request().mainQueue.async([self, leaving] {
            auto folder = self->manageFolder;
            if (leaving) return self->show(leftMessage(folder ? folder->name : "the folder"));
            if (folder) self->loadManage(folder->id, folder->name);
        });
    });
}

}  // namespace tobrel
