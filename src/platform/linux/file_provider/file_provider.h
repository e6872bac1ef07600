#pragma once

#include <memory>

#include "platform/file_provider.h"
#include "platform/linux/file_provider/registry.h"

namespace tobrel {

class RegistryWorkers;

// The File Provider services over the registry. Completions run on its own few threads, which start when first needed.
// Destroying it, which may happen inside a completion, waits for completions that run and drops all others; managers
// that outlive it answer no more.
class SqliteFileProvider : public NSFileProviderManagers {
public:
    // The first thread takes over the registry, which spares opening it again; no snapshot of it is alive any more.
    explicit SqliteFileProvider(std::unique_ptr<FileProviderRegistry> registry);
    ~SqliteFileProvider() override;

    // Returns when every domain list asked for and every signal begun is done, completions included; look-ups are not
    // waited for. Not from a completion.
    void waitForSignals();

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
    const std::shared_ptr<RegistryWorkers> workers_;
};

}  // namespace tobrel
