#pragma once

#include "platform/batch_queue.h"
#include "platform/file_provider.h"
#include "platform/http.h"
#include "platform/work_counter.h"

namespace tobrel::host {

// Each hands its calls on to a real part and counts as work what that part has not answered yet. Counter and part
// outlive it.

class CountedURLSession : public URLSession {
public:
    CountedURLSession(URLSession& session, WorkCounter& work) : session_(session), work_(work) {}
    void dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) override;

private:
    URLSession& session_;
    WorkCounter& work_;
};

class CountedBatchQueue : public BatchQueue {
public:
    CountedBatchQueue(BatchQueue& queue, WorkCounter& work) : queue_(queue), work_(work) {}
    void async(std::function<void(std::any& shared)> block) override;

private:
    BatchQueue& queue_;
    WorkCounter& work_;
};

class CountedFileProvider : public NSFileProviderManagers {
public:
    CountedFileProvider(NSFileProviderManagers& managers, WorkCounter& work) : managers_(managers), work_(work) {}
    void getDomainsWithCompletionHandler(
        std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) override;
    std::shared_ptr<NSFileProviderManager> managerForDomain(const NSFileProviderDomain& domain) override;
    void getIdentifierForUserVisibleFileAtURL(
        const NSURL& url, std::function<void(std::optional<NSFileProviderItemIdentifier>,
                                             std::optional<std::string> domainIdentifier, std::optional<NSError>)>
                              completion) override;
    bool startAccessingSecurityScopedResource(const NSURL& url) override;
    void stopAccessingSecurityScopedResource(const NSURL& url) override;

private:
    NSFileProviderManagers& managers_;
    WorkCounter& work_;
};

}  // namespace tobrel::host
