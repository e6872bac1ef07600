#include "platform/linux_online/keychain/secret_service_on_demand.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/linux_online/modules.h"

namespace tobrel {

namespace {

// Without a bus the library would try to start one.
bool hasSessionBus() {
    const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (address && *address) return true;
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return runtime && *runtime && access((std::string(runtime) + "/bus").c_str(), F_OK) == 0;
}

}  // namespace

SecItemCopyResult SecretServiceOnDemand::SecItemCopyMatching(const SecAttributes& query) {
    if (OSStatus obstacle = reach()) return {obstacle, std::nullopt};
    return service_->SecItemCopyMatching(query);
}

OSStatus SecretServiceOnDemand::SecItemAdd(const SecAttributes& attributes) {
    OSStatus obstacle = reach();
    return obstacle ? obstacle : service_->SecItemAdd(attributes);
}

OSStatus SecretServiceOnDemand::SecItemDelete(const SecAttributes& query) {
    OSStatus obstacle = reach();
    return obstacle ? obstacle : service_->SecItemDelete(query);
}

OSStatus SecretServiceOnDemand::replace(const SecAttributes& query, const SecAttributes& item) {
    OSStatus obstacle = reach();
    return obstacle ? obstacle : service_->replace(query, item);
}

void SecretServiceOnDemand::prepare() {
    if (reach() == errSecSuccess) service_->prepare();
}

void SecretServiceOnDemand::interrupt() {
    std::lock_guard lock(mutex_);
    interrupted_ = true;
    if (service_) service_->interrupt();
}

OSStatus SecretServiceOnDemand::reach() {
    if (!hasSessionBus()) return errSecNotAvailable;
    std::lock_guard lock(mutex_);
    if (interrupted_) return errSecIO;
    if (!service_) service_ = sessionModule().makeSecretService(bounds_);
    return errSecSuccess;
}

}  // namespace tobrel
