#include "platform/linux_online/modules.h"
#include "platform/linux_online/session/browser_gio.h"
#include "platform/linux_online/session/secret_service.h"

namespace tobrel {
namespace {

class Module : public SessionModule {
    std::unique_ptr<KeychainStorage> makeSecretService(const SecretServiceBounds& bounds) override {
        return std::make_unique<KeychainSecretService>(bounds);
    }
    bool openURL(const std::string& url) override { return GioBrowser().openURL(url); }
};

}  // namespace
}  // namespace tobrel

extern "C" [[gnu::visibility("default")]] tobrel::SessionModule& tobrelModule() {
    static tobrel::Module module;
    return module;
}
