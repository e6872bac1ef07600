#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/file_provider_ui.h"
#include "text/url.h"

namespace tobrel {

// One request's controller: dispatch, sheet, and the dialogue of the command. Its fields are used on the main thread;
// completions hold it strongly. Each folder defines the methods listed under its name.
class TobrelActionViewController final : public FPUIActionExtensionViewController {
public:
    static constexpr int defaultExpiryDays = 30;

    struct Folder {
        std::string id;
        std::string name;
    };
    struct PendingLink {
        std::string name;
        std::vector<std::string> keys;
        std::optional<std::string> prefix;
    };
    struct ExistingLink {
        std::string url;
        // As the server wrote it.
        std::optional<std::string> expiresAt;
    };
    using ItemIdentifiers = std::vector<NSFileProviderItemIdentifier>;
    using Resolved = std::function<void(ItemIdentifiers, std::shared_ptr<NSFileProviderManager>)>;
    using FolderContinuation = std::function<void(std::string id, std::string name)>;

    std::shared_ptr<NSTextField> label;
    std::shared_ptr<NSButton> done;
    std::shared_ptr<NSView> rootView;
    std::shared_ptr<NSTextField> emailField;
    std::shared_ptr<NSPopUpButton> rolePopup;
    std::string shareFolderID;
    std::optional<Folder> manageFolder;
    std::optional<PendingLink> pendingLink;
    std::optional<std::string> existingLink;
    std::shared_ptr<NSButton> expiresCheck;
    std::shared_ptr<NSTextField> expiresDays;
    bool autoDismiss = false;

    // dispatch/action_view_controller.cpp
    // Null where the base class makes none.
    static std::shared_ptr<TobrelActionViewController> initWithNibName(const std::optional<std::string>& nibName,
                                                                       const NSBundle* bundle);
    static std::shared_ptr<TobrelActionViewController> initWithCoder(const NSCoder* coder);
    bool performSelector(std::string_view selector, NSView* sender) override;

    // dispatch/dispatch.cpp
    void prepareForAction(const std::string& actionIdentifier, const ItemIdentifiers& itemIdentifiers) override;
    void prepareForError(const NSError& error) override;

    // dispatch/sheet.cpp
    void loadView() override;
    void viewDidAppear() override;
    // Shows the text in the label layout. Any thread; always takes effect later, from the main queue.
    void show(std::string text);
    // Replaces the sheet by a form: content, the given buttons from right to left, and a close button.
    void present(std::shared_ptr<NSView> content, const std::vector<std::shared_ptr<NSButton>>& buttons,
                 CGFloat height);
    void presentLabel();
    void closeSheet(NSView* sender);

    // resolve/resolve.cpp
    // The completion runs once: on the main queue with what could be resolved, in the order of the answers, or, where
    // the request's domain is not to be found, on a worker thread with nothing.
    void resolve(const ItemIdentifiers& selection, Resolved completion);

    // resolve/single_folder.cpp
    // The continuation runs on the main queue, and only for one folder that may be shared; otherwise the sheet says
    // why not.
    void singleFolder(const ItemIdentifiers& resolved, FolderContinuation continuation);

    // flows/share_link_lookup.cpp
    void createShare(const ItemIdentifiers& resolved);

    // flows/share_link_form.cpp
    void presentLinkForm(const std::string& name, const std::optional<ExistingLink>& existing);
    // One sentence about an expiry as the server wrote it. Any thread.
    static std::string expiryLine(const std::optional<std::string>& expiresAt);
    void copyExisting(NSView* sender);
    void expiryToggled(NSView* sender);
    void submitLink(NSView* sender);

    // flows/share_with.cpp
    void beginShareWith(const ItemIdentifiers& resolved);
    void submitShare(NSView* sender);

    // flows/manage_sharing.cpp
    void beginManage(const ItemIdentifiers& resolved);
    // Any thread.
    void loadManage(std::string id, std::string name);
    void revokeTapped(NSView* sender);

    // flows/view_online.cpp
    void viewOnline(const ItemIdentifiers& resolved);
    // The web interface's address of a page path; nothing without a server setting or where the text does not parse.
    static std::optional<URL> onlineURL(const std::string& path);

private:
    TobrelActionViewController();
    std::shared_ptr<TobrelActionViewController> self();

    void requestPins(const ItemIdentifiers& itemIdentifiers, bool pinned);
    void openPage(std::string path);
};

}  // namespace tobrel
