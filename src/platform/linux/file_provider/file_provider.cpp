#include "platform/linux/file_provider/file_provider.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "platform/linux/file_provider/local_path.h"
#include "platform/linux/file_provider/registry_workers.h"
#include "text/harmless_text.h"

namespace tobrel {

namespace {

constexpr int registryFailed = -2005;

NSError noSuchItem(std::string text) {
    return {NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem, std::move(text)};
}

NSError errorOf(const Failure& failure) {
    return {NSFileProviderErrorDomain, registryFailed, failure.sentence};
}

bool isThere(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0;
}

struct Located {
    std::optional<NSURL> url;
    std::optional<NSError> error;
};

Located locate(RegistryAccess& access, const std::string& domainIdentifier, const std::string& item) {
    auto snapshot = access.snapshot();
    if (!snapshot) return {std::nullopt, errorOf(snapshot.failure())};
    const RegisteredDomain* domain = (*snapshot)->domain(domainIdentifier);
    if (!domain) return {std::nullopt, noSuchItem("There is no domain " + inQuotes(domainIdentifier) + ".")};
    auto path = (*snapshot)->pathOfItem(*domain, item);
    if (!path) return {std::nullopt, errorOf(path.failure())};
    if (!*path)
        return {std::nullopt,
                noSuchItem("The domain " + inQuotes(domainIdentifier) + " has no item " + inQuotes(item) + ".")};
    if (!isThere(**path)) {
        const char* what = errno == ENOENT || errno == ENOTDIR ? " has gone." : " cannot be reached.";
        return {std::nullopt, noSuchItem("The file " + inQuotes(**path) + what)};
    }
    return {NSURL{std::move(**path)}, std::nullopt};
}

struct Identified {
    std::optional<NSFileProviderItemIdentifier> item;
    std::optional<std::string> domain;
    std::optional<NSError> error;
};

Identified identify(RegistryAccess& access, const std::string& path) {
    auto snapshot = access.snapshot();
    if (!snapshot) return {std::nullopt, std::nullopt, errorOf(snapshot.failure())};
    auto place = path.starts_with('/') ? normalPath(path) : std::nullopt;
    const RegisteredDomain* domain = place ? (*snapshot)->domainOfPath(*place) : nullptr;
    if (!domain) return {std::nullopt, std::nullopt, noSuchItem(inQuotes(path) + " lies in no registered domain.")};
    auto item = (*snapshot)->itemAtPath(*domain, *place);
    if (!item) return {std::nullopt, std::nullopt, errorOf(item.failure())};
    if (!*item)
        return {std::nullopt, domain->identifier,
                noSuchItem(inQuotes(path) + " is not known to the domain " + inQuotes(domain->identifier) + ".")};
    return {std::move(*item), domain->identifier, std::nullopt};
}

class SqliteFileProviderManager : public NSFileProviderManager {
public:
    SqliteFileProviderManager(std::shared_ptr<RegistryWorkers> workers, std::string domain)
        : workers_(std::move(workers)), domain_(std::make_shared<const std::string>(std::move(domain))) {}

    void getUserVisibleURLForItemIdentifier(
        const NSFileProviderItemIdentifier& item,
        std::function<void(std::optional<NSURL>, std::optional<NSError>)> completion) override {
        workers_->post(RegistryWorkers::Kind::lookUp,
                       [domain = domain_, item, completion = std::move(completion)](RegistryAccess& access) {
                           Located located = locate(access, *domain, item);
                           completion(std::move(located.url), std::move(located.error));
                       });
    }

    void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& container,
                                                    std::function<void(std::optional<NSError>)> completion) override {
        workers_->post(RegistryWorkers::Kind::signal,
                       [domain = domain_, container, completion = std::move(completion)](RegistryAccess& access) {
                           if (container != NSFileProviderWorkingSetContainerItemIdentifier) {
                               completion(noSuchItem("The container " + inQuotes(container) + " takes no signals."));
                               return;
                           }
                           auto counted = access.registryForChange().countSignal(*domain);
                           completion(counted ? std::nullopt : std::optional(errorOf(counted.failure())));
                       });
    }

private:
    const std::shared_ptr<RegistryWorkers> workers_;
    // Each look-up shares it.
    const std::shared_ptr<const std::string> domain_;
};

}  // namespace

SqliteFileProvider::SqliteFileProvider(std::unique_ptr<FileProviderRegistry> registry)
    : workers_(std::make_shared<RegistryWorkers>(std::move(registry))) {}

SqliteFileProvider::~SqliteFileProvider() {
    workers_->stop();
}

void SqliteFileProvider::waitForSignals() {
    workers_->waitForSignals();
}

void SqliteFileProvider::getDomainsWithCompletionHandler(
    std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) {
    workers_->post(RegistryWorkers::Kind::domainList, [completion = std::move(completion)](RegistryAccess& access) {
        std::vector<NSFileProviderDomain> domains;
        auto snapshot = access.snapshot();
        if (!snapshot) {
            completion({}, errorOf(snapshot.failure()));
            return;
        }
        for (const RegisteredDomain& domain : (*snapshot)->domains()) domains.push_back({domain.identifier});
        completion(std::move(domains), std::nullopt);
    });
}

std::shared_ptr<NSFileProviderManager> SqliteFileProvider::managerForDomain(const NSFileProviderDomain& domain) {
    RegistryAccess elsewhere(std::make_unique<FileProviderRegistry>(workers_->dataFolder()));
    RegistryAccess* own = workers_->accessOfThisThread();
    auto snapshot = (own ? *own : elsewhere).newSnapshot();
    if (!snapshot || !(*snapshot)->domain(domain.identifier)) return nullptr;
    return std::make_shared<SqliteFileProviderManager>(workers_, domain.identifier);
}

void SqliteFileProvider::getIdentifierForUserVisibleFileAtURL(
    const NSURL& url,
    std::function<void(std::optional<NSFileProviderItemIdentifier>, std::optional<std::string>, std::optional<NSError>)>
        completion) {
    workers_->post(
        RegistryWorkers::Kind::lookUp, [path = url.path, completion = std::move(completion)](RegistryAccess& access) {
            Identified identified = identify(access, path);
            completion(std::move(identified.item), std::move(identified.domain), std::move(identified.error));
        });
}

// A process has its user's rights already, and whoever asks has just been told that the file is there.
bool SqliteFileProvider::startAccessingSecurityScopedResource(const NSURL&) {
    return true;
}

void SqliteFileProvider::stopAccessingSecurityScopedResource(const NSURL&) {}

}  // namespace tobrel
