#include "admin/compose.h"

#include "platform/desktop.h"
#include "platform/linux/data_folder.h"
#include "platform/linux/file_provider/file_provider.h"
#include "platform/linux/user_database_posix.h"
#include "platform/linux_online/http/curl_session.h"
#include "platform/linux_online/keychain/keychain_linux.h"
#include "platform/linux_online/text_icu.h"
#include "platform/log.h"
#include "platform/main_queue.h"
#include "platform/platform.h"

namespace tobrel::admin {

namespace {

// Nothing here shows a sheet, and what is to be said is printed.
struct NoLog : OSLogSink {
    void write(OSLogType, std::string_view, std::string_view, std::string_view) override {}
};

struct NoMainQueue : MainQueue {
    void async(std::function<void()>) override {}
};

struct NoDesktop : NSPasteboard, NSWorkspace, NSSound {
    void clearContents() override {}
    void setString(const std::string&, const std::string&) override {}
    bool openURL(const std::string&) override { return false; }
    void beep() override {}
};

// Whoever sets or asks for a key is there to answer the keyring's question.
constexpr KeychainSecretService::Bounds patient{.unlock = std::chrono::seconds(60)};

}  // namespace

struct Composition::Parts {
    explicit Parts(const Invocation& invocation)
        : users(invocation.home), keychain(makeKeychain(users, invocation.home.has_value(), patient)) {}

    PosixUserDatabase users;
    PosixFiles files;
    std::unique_ptr<LinuxKeychain> keychain;
    IcuTextServices text;
    CurlURLSession urlSession;
    SqliteFileProvider fileProvider{std::make_unique<FileProviderRegistry>(dataFolder(users))};
    NoLog log;
    NoMainQueue mainQueue;
    NoDesktop desktop;
    InfoDictionary infoDictionary{{"CFBundleShortVersionString", TOBREL_VERSION},
                                  {"CFBundleExecutable", "tobrel-admin"}};
    const platform::Platform platform{users, files, log, mainQueue, fileProvider};
    const platform::Online online{urlSession, *keychain, text, desktop, desktop, desktop, infoDictionary};
};

Composition::Composition(const Invocation& invocation) : parts_(std::make_unique<Parts>(invocation)) {
    platform::install(&parts_->platform, &parts_->online);
}

Composition::~Composition() {
    platform::install(nullptr, nullptr);
}

UserDatabase& Composition::users() {
    return parts_->users;
}
Files& Composition::files() {
    return parts_->files;
}
LinuxKeychain& Composition::keychain() {
    return *parts_->keychain;
}
TextServices& Composition::text() {
    return parts_->text;
}
URLSession& Composition::urlSession() {
    return parts_->urlSession;
}

}  // namespace tobrel::admin
