#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"

namespace tobrel {

// Opaque; any bytes but NUL.
using NSFileProviderItemIdentifier = std::string;

inline constexpr const char* NSFileProviderErrorDomain = "NSFileProviderErrorDomain";
inline constexpr int NSFileProviderErrorNoSuchItem = -1005;
inline constexpr const char* NSFileProviderWorkingSetContainerItemIdentifier =
    "NSFileProviderWorkingSetContainerItemIdentifier";

// A local file's location: an absolute path, any bytes that a file name may hold.
struct NSURL {
    std::string path;
    std::string lastPathComponent() const;
};

struct NSFileProviderDomain {
    std::string identifier;
};

// One domain's manager. Calls return at once; completions run on worker threads, several at a time, once each.
class NSFileProviderManager {
public:
    virtual ~NSFileProviderManager() = default;
    // No URL for an item that the domain does not know or whose file has gone; the error says which.
    virtual void getUserVisibleURLForItemIdentifier(
        const NSFileProviderItemIdentifier& item,
        std::function<void(std::optional<NSURL>, std::optional<NSError>)> completion) = 0;
    virtual void signalEnumeratorForContainerItemIdentifier(const NSFileProviderItemIdentifier& container,
                                                            std::function<void(std::optional<NSError>)> completion) = 0;
};

// The class-level operations. Completions as above, but for managerForDomain, which answers directly.
class NSFileProviderManagers {
public:
    virtual ~NSFileProviderManagers() = default;
    // All domains in the order in which they were added.
    virtual void getDomainsWithCompletionHandler(
        std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) = 0;
    // Null for a domain that is not registered (any more).
    virtual std::shared_ptr<NSFileProviderManager> managerForDomain(const NSFileProviderDomain& domain) = 0;
    virtual void getIdentifierForUserVisibleFileAtURL(
        const NSURL& url, std::function<void(std::optional<NSFileProviderItemIdentifier>,
                                             std::optional<std::string> domainIdentifier, std::optional<NSError>)>
                              completion) = 0;
    // Whether the process may reach the file; each true is paired with one stop.
    virtual bool startAccessingSecurityScopedResource(const NSURL& url) = 0;
    virtual void stopAccessingSecurityScopedResource(const NSURL& url) = 0;
};

}  // namespace tobrel
