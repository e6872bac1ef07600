#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "flows/link_coverage.h"
#include "flows/web_address.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel {

namespace {

using ItemIdentifiers = TobrelActionViewController::ItemIdentifiers;

// As many as the server gets connections: further ones would only wait for one.
constexpr std::size_t lookupsAtOnce = 64;

class Lookups {
public:
    explicit Lookups(ItemIdentifiers items) : items_(std::move(items)) {}

    const NSFileProviderItemIdentifier* takeNext() {
        std::lock_guard lock(mutex_);
        return next_ < items_.size() ? &items_[next_++] : nullptr;
    }

    void collect(const API::Item& item) {
        std::lock_guard lock(mutex_);
        if (item.error && !firstError) firstError = item.error;
        auto& found = item.isFolder ? item.path : item.key;
        if (found) (item.isFolder ? folderPaths : fileKeys).push_back(*found);
    }

    // To be read once every answer has been collected.
    std::vector<std::string> fileKeys;
    std::vector<std::string> folderPaths;
    std::optional<std::string> firstError;

private:
    const ItemIdentifiers items_;
    std::size_t next_ = 0;
    std::mutex mutex_;
};

// Asks for one item after the other, each as soon as the last has been answered. Any thread.
void askInTurn(const std::shared_ptr<Lookups>& lookups, DispatchGroup outstanding) {
    while (auto* item = lookups->takeNext()) {
        // An answer may come inside the call: whichever is second, answer or return, goes on.
        auto oneIsDone = std::make_shared<std::atomic_flag>();
        API::lookup(*item, [lookups, outstanding, oneIsDone](const API::Item& answer) mutable {
            lookups->collect(answer);
            outstanding.leave();
            if (oneIsDone->test_and_set()) askInTurn(lookups, outstanding);
        });
        if (!oneIsDone->test_and_set()) return;
    }
}

}  // namespace

void TobrelActionViewController::createShare(const ItemIdentifiers& resolved) {
    show("Creating share link…");
    auto lookups = std::make_shared<Lookups>(resolved);
    // Held by the answers alone: once they can no longer come, what waits for them goes as well.
    DispatchGroup outstanding;
    for (std::size_t each = 0; each < resolved.size(); ++each) outstanding.enter();
    for (std::size_t each = 0; each < std::min(lookupsAtOnce, resolved.size()); ++each) askInTurn(lookups, outstanding);
    outstanding.notify(platform::request().mainQueue, [self = self(), lookups] {
        auto link = linkCoverage(lookups->fileKeys, lookups->folderPaths);
        if (!link) return self->show(lookups->firstError.value_or("Nothing here can be shared."));
        self->pendingLink = link;
        API::findShares(link->keys, link->prefix, [self, name = link->name](const std::vector<API::ShareLink>& links) {
            std::optional<ExistingLink> existing;
            if (!links.empty() && mayBeCopied(links.front().url))
                existing = {links.front().url, links.front().expiresAt};
            platform::request().mainQueue.async([self, name, existing] { self->presentLinkForm(name, existing); });
        });
    });
}

}  // namespace tobrel
