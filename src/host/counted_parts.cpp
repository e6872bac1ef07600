#include "host/counted_parts.h"

#include <utility>

namespace tobrel::host {

namespace {

// The work ends when the completion has run, or can no longer run.
template <class... Answer>
std::function<void(Answer...)> counted(WorkCounter& work, std::function<void(Answer...)> completion) {
    return [token = work.begin(), completion = std::move(completion)](Answer... answer) mutable {
        completion(std::move(answer)...);
        token.reset();
    };
}

class CountedManager : public NSFileProviderManager {
public:
    CountedManager(std::shared_ptr<NSFileProviderManager> manager, WorkCounter& work)
        : manager_(std::move(manager)), work_(work) {}

    void getUserVisibleURLForItemIdentifier(
        const NSFileProviderItemIdentifier& item,
        std::function<void(std::optional<NSURL>, std::optional<NSError>)> completion) override {
        manager_->getUserVisibleURLForItemIdentifier(item, counted(work_, std::move(completion)));
    }
    void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& container,
                                                    std::function<void(std::optional<NSError>)> completion) override {
        manager_->signalEnumeratorForContainerItemIdentifier(container, counted(work_, std::move(completion)));
    }

private:
    const std::shared_ptr<NSFileProviderManager> manager_;
    WorkCounter& work_;
};

}  // namespace

void CountedURLSession::dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) {
    session_.dataTask(std::move(request), counted(work_, std::move(completion)));
}

void CountedBatchQueue::async(std::function<void(std::any& shared)> block) {
    queue_.async([token = work_.begin(), block = std::move(block)](std::any& shared) { block(shared); });
}

void CountedFileProvider::getDomainsWithCompletionHandler(
    std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) {
    managers_.getDomainsWithCompletionHandler(counted(work_, std::move(completion)));
}

std::shared_ptr<NSFileProviderManager> CountedFileProvider::managerForDomain(const NSFileProviderDomain& domain) {
    auto manager = managers_.managerForDomain(domain);
    return manager ? std::make_shared<CountedManager>(std::move(manager), work_) : nullptr;
}

void CountedFileProvider::getIdentifierForUserVisibleFileAtURL(
    const NSURL& url,
    std::function<void(std::optional<NSFileProviderItemIdentifier>, std::optional<std::string>, std::optional<NSError>)>
        completion) {
    managers_.getIdentifierForUserVisibleFileAtURL(url, counted(work_, std::move(completion)));
}

bool CountedFileProvider::startAccessingSecurityScopedResource(const NSURL& url) {
    return managers_.startAccessingSecurityScopedResource(url);
}

void CountedFileProvider::stopAccessingSecurityScopedResource(const NSURL& url) {
    managers_.stopAccessingSecurityScopedResource(url);
}

}  // namespace tobrel::host
