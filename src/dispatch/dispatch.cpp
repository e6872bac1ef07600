#include "dispatch/action_id.h"
#include "dispatch/action_view_controller.h"
#include "dispatch/uilog.h"
#include "platform/platform.h"
#include "state/pin_file.h"

namespace tobrel {

namespace {

void signalWorkingSet(const std::optional<std::string>& domainIdentifier,
                      const std::vector<NSFileProviderDomain>& domains) {
    if (!domainIdentifier) return;
    for (const auto& domain : domains) {
        if (domain.identifier != *domainIdentifier) continue;
        if (auto manager = platform::request().fileProvider.managerForDomain(domain))
            manager->signalEnumeratorForContainerItemIdentifier(NSFileProviderWorkingSetContainerItemIdentifier,
                                                                [](const std::optional<NSError>&) {});
        return;
    }
}

}  // namespace

void TobrelActionViewController::prepareForAction(const std::string& actionIdentifier,
                                                  const ItemIdentifiers& itemIdentifiers) {
    // The manager that resolution delivers too has no use in any flow.
    auto resolved = [this](void (TobrelActionViewController::*flow)(const ItemIdentifiers&)) {
        return [controller = self(), flow](const ItemIdentifiers& items, std::shared_ptr<NSFileProviderManager>) {
            (controller.get()->*flow)(items);
        };
    };

    if (actionIdentifier == ActionID::keep) {
        requestPins(itemIdentifiers, true);
    } else if (actionIdentifier == ActionID::unkeep) {
        requestPins(itemIdentifiers, false);
    } else if (actionIdentifier == ActionID::share) {
        resolve(itemIdentifiers, resolved(&TobrelActionViewController::createShare));
    } else if (actionIdentifier == ActionID::shareWith) {
        show("Looking up the folder…");
        resolve(itemIdentifiers, resolved(&TobrelActionViewController::beginShareWith));
    } else if (actionIdentifier == ActionID::manage) {
        show("Checking sharing…");
        resolve(itemIdentifiers, resolved(&TobrelActionViewController::beginManage));
    } else if (actionIdentifier == ActionID::online) {
        show("Opening in your browser…");
        resolve(itemIdentifiers, resolved(&TobrelActionViewController::viewOnline));
    } else {
        osLog(uilog(), OSLogType::error, "unknown action %{public}@", actionIdentifier);
        extensionContext().cancelRequestWithError({FPUIErrorDomain, FPUIExtensionErrorCodeFailed, {}});
    }
}

void TobrelActionViewController::prepareForError(const NSError& error) {
    extensionContext().cancelRequestWithError(error);
}

void TobrelActionViewController::requestPins(const ItemIdentifiers& itemIdentifiers, bool pinned) {
    osLog(uilog(), OSLogType::error, "%{public}@: %d item(s)", pinned ? "make available offline" : "make online-only",
          itemIdentifiers.size());
    PinFile::request(itemIdentifiers, pinned);
    label->setStringValue(pinned ? "Made available offline" : "Made online-only");
    done->setHidden(true);
    autoDismiss = true;
    platform::request().fileProvider.getDomainsWithCompletionHandler(
        [domainIdentifier = extensionContext().domainIdentifier()](const std::vector<NSFileProviderDomain>& domains,
                                                                   const std::optional<NSError>&) {
            signalWorkingSet(domainIdentifier, domains);
        });
    extensionContext().completeRequest();
}

}  // namespace tobrel
