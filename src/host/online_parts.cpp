#include "host/online_parts.h"

#include "platform/linux_online/browser_gio.h"
#include "platform/linux_online/http/curl_session.h"
#include "platform/linux_online/keychain/keychain_linux.h"
#include "platform/linux_online/text_icu.h"

namespace tobrel::host {

namespace {

class LinuxOnlineParts : public OnlineParts {
public:
    LinuxOnlineParts(const Options& options, UserDatabase& users)
        : keychain_(makeKeychain(users, options.home.has_value())) {}

    URLSession& urlSession() override { return *urlSession_; }
    Keychain& keychain() override { return *keychain_; }
    TextServices& text() override { return text_; }
    NSWorkspace& browser() override { return browser_; }
    void endRequests() override { urlSession_.reset(); }

private:
    const std::unique_ptr<Keychain> keychain_;
    IcuTextServices text_;
    GioBrowser browser_;
    std::unique_ptr<URLSession> urlSession_ = std::make_unique<CurlURLSession>();
};

}  // namespace

std::unique_ptr<OnlineParts> makeOnlineParts(const Options& options, UserDatabase& users) {
    return std::make_unique<LinuxOnlineParts>(options, users);
}

}  // namespace tobrel::host
