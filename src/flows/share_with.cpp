#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "dispatch/uilog.h"
#include "flows/labels.h"
#include "platform/platform.h"
#include "platform/text.h"

namespace tobrel {

void TobrelActionViewController::beginShareWith(const ItemIdentifiers& resolved) {
    singleFolder(resolved, [self = self()](const std::string& id, const std::string& name) {
        self->shareFolderID = id;
        auto title = formTitle("Share “" + name + "” with a Tobrel user");
        auto note = NSTextField::labelWithString("They need a Tobrel account already. Files stay in your storage.");
        makeNote(*note);
        self->emailField->setPlaceholderString("their Tobrel email");
        self->emailField->setStringValue("");
        self->rolePopup->removeAllItems();
        self->rolePopup->addItemWithTitle("Can view and download");
        self->rolePopup->addItemWithTitle("Can view, add, edit and delete");
        auto share = NSButton::buttonWithTitle("Share", self, "submitShare:");
        share->setKeyEquivalent("\r");

        auto content = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical,
                                                   {title, note, self->emailField, self->rolePopup});
        content->setAlignment(NSLayoutAttribute::width);
        content->setSpacing(8);
        self->present(content, {share}, 190);
        self->emailField->becomeFirstResponder();
    });
}

void TobrelActionViewController::submitShare(NSView*) {
    std::string email(platform::online().text.trimmingWhitespaceAndNewlines(emailField->stringValue()));
    if (email.find('@') == email.npos) return emailField->becomeFirstResponder();
    bool canEdit = rolePopup->indexOfSelectedItem() == 1;
    std::string role = canEdit ? "write" : "read";

    show("Sharing…");
    API::createGrant(shareFolderID, email, role, [self = self(), email, role, canEdit](const ApiResult& result) {
        if (!result.json) return self->show("Could not share: " + result.error.value_or("unknown error"));
        osLog(uilog(), OSLogType::info, "shared folder with %{public}@ (%{public}@)", email, role);
        self->show("Shared with " + email + ", " + (canEdit ? "can edit" : "view only") +
                   ".\nIt appears in their Tobrel under “Shared with me”.");
    });
}

}  // namespace tobrel
