#include <cstdlib>

#include "own_memory.h"
#include "platform/file_provider.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/log.h"
#include "platform/main_queue.h"
#include "platform/platform.h"
#include "state/pin_file.h"

using namespace tobrel;

namespace {

// What a request has no use for.
struct NoLog : OSLogSink {
    void write(OSLogType, std::string_view, std::string_view, std::string_view) override { std::abort(); }
};

struct NoQueue : MainQueue {
    void async(std::function<void()>) override { std::abort(); }
};

struct NoProvider : NSFileProviderManagers {
    using Domains = std::vector<NSFileProviderDomain>;
    using Identifier = std::optional<NSFileProviderItemIdentifier>;
    using Error = std::optional<NSError>;
    void getDomainsWithCompletionHandler(std::function<void(Domains, Error)>) override { std::abort(); }
    std::shared_ptr<NSFileProviderManager> managerForDomain(const NSFileProviderDomain&) override { std::abort(); }
    void getIdentifierForUserVisibleFileAtURL(
        const NSURL&, std::function<void(Identifier, std::optional<std::string>, Error)>) override {
        std::abort();
    }
    bool startAccessingSecurityScopedResource(const NSURL&) override { std::abort(); }
    void stopAccessingSecurityScopedResource(const NSURL&) override { std::abort(); }
};

}  // namespace

// Appends one request to the queue under the given home folder.
int main(int, char* words[]) {
    PosixUserDatabase users{std::string(words[1])};
    PosixFiles files;
    NoLog log;
    NoQueue queue;
    NoProvider fileProvider;
    const platform::Platform platform{users, files, log, queue, fileProvider};
    platform::install(&platform, nullptr);
    PinFile::request({"4f1c2a90-new-item"}, true);
    bench::printMemoryIfAsked();
}
