#include <mutex>

#include "dispatch/action_view_controller.h"
#include "dispatch/uilog.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel {

namespace {

using Completion = TobrelActionViewController::Resolved;

// What one call shares between the callbacks of its items. The group stands outside: it holds the final block, which
// holds this, and must go with the callbacks where they never come.
struct Resolution {
    std::shared_ptr<NSFileProviderManager> manager;
    std::mutex lock;
    TobrelActionViewController::ItemIdentifiers resolved;
};

std::string describe(const std::optional<NSError>& error) {
    return error ? error->localizedDescription() : "?";
}

std::shared_ptr<NSFileProviderManager> managerOf(const std::optional<std::string>& domainIdentifier,
                                                 const std::vector<NSFileProviderDomain>& domains) {
    for (const auto& domain : domains)
        if (domain.identifier == domainIdentifier) return platform::request().fileProvider.managerForDomain(domain);
    return nullptr;
}

void confirmIdentifier(const std::shared_ptr<Resolution>& resolution, DispatchGroup group, const NSURL& url) {
    auto& fileProvider = platform::request().fileProvider;
    bool granted = fileProvider.startAccessingSecurityScopedResource(url);
    fileProvider.getIdentifierForUserVisibleFileAtURL(
        url, [resolution, group, url, granted](const std::optional<NSFileProviderItemIdentifier>& item,
                                               const std::optional<std::string>&,
                                               const std::optional<NSError>& error) mutable {
            if (granted) platform::request().fileProvider.stopAccessingSecurityScopedResource(url);
            if (item) {
                std::lock_guard guard(resolution->lock);
                resolution->resolved.push_back(*item);
            } else {
                osLog(uilog(), OSLogType::error, "no identifier for %{public}@: %{public}@", url.lastPathComponent(),
                      describe(error));
            }
            group.leave();
        });
}

void resolveItems(std::shared_ptr<NSFileProviderManager> manager,
                  const TobrelActionViewController::ItemIdentifiers& selection, Completion completion) {
    auto resolution = std::make_shared<Resolution>();
    resolution->manager = std::move(manager);
    DispatchGroup group;
    for (const auto& item : selection) {
        group.enter();
        resolution->manager->getUserVisibleURLForItemIdentifier(
            item,
            [resolution, group, item](const std::optional<NSURL>& url, const std::optional<NSError>& error) mutable {
                if (url) {
                    confirmIdentifier(resolution, group, *url);
                    return;
                }
                osLog(uilog(), OSLogType::error, "no url for %{public}@: %{public}@", item, describe(error));
                group.leave();
            });
    }
    group.notify(platform::request().mainQueue, [resolution, completion = std::move(completion)] {
        completion(std::move(resolution->resolved), resolution->manager);
    });
}

}  // namespace

void TobrelActionViewController::resolve(const ItemIdentifiers& selection, Resolved completion) {
    platform::request().fileProvider.getDomainsWithCompletionHandler(
        [domainIdentifier = extensionContext().domainIdentifier(), selection, completion = std::move(completion)](
            const std::vector<NSFileProviderDomain>& domains, const std::optional<NSError>&) mutable {
            if (auto manager = managerOf(domainIdentifier, domains)) {
                resolveItems(std::move(manager), selection, std::move(completion));
                return;
            }
            osLog(uilog(), OSLogType::error, "no manager for domain %{public}@", domainIdentifier.value_or("?"));
            completion({}, nullptr);
        });
}

}  // namespace tobrel
