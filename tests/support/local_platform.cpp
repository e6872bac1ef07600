#include "support/local_platform.h"

#include <cstdlib>

#include "platform/file_provider.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/log.h"
#include "platform/main_queue.h"

namespace tobrel::testing {

namespace {

struct NoLog : OSLogSink {
    void write(OSLogType, std::string_view, std::string_view, std::string_view) override { std::abort(); }
};

struct NoMainQueue : MainQueue {
    void async(std::function<void()>) override { std::abort(); }
};

struct NoFileProvider : NSFileProviderManagers {
    void getDomainsWithCompletionHandler(
        std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)>) override {
        std::abort();
    }
    std::shared_ptr<NSFileProviderManager> managerForDomain(const NSFileProviderDomain&) override { std::abort(); }
    void getIdentifierForUserVisibleFileAtURL(
        const NSURL&, std::function<void(std::optional<NSFileProviderItemIdentifier>, std::optional<std::string>,
                                         std::optional<NSError>)>) override {
        std::abort();
    }
    bool startAccessingSecurityScopedResource(const NSURL&) override { std::abort(); }
    void stopAccessingSecurityScopedResource(const NSURL&) override { std::abort(); }
};

}  // namespace

struct LocalPlatform::Parts {
    PosixUserDatabase users;
    PosixFiles files;
    NoLog log;
    NoMainQueue mainQueue;
    NoFileProvider fileProvider;
    platform::Platform platform{users, files, log, mainQueue, fileProvider};
};

LocalPlatform::LocalPlatform(const std::string& home, std::chrono::milliseconds lockPatience)
    : parts_(new Parts{.users = PosixUserDatabase(home), .files = PosixFiles(lockPatience)}) {
    platform::install(&parts_->platform, nullptr);
}

LocalPlatform::~LocalPlatform() {
    platform::install(nullptr, nullptr);
}

}  // namespace tobrel::testing
