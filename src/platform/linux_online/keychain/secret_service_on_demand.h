#pragma once

#include <memory>
#include <mutex>

#include "platform/linux_online/keychain/keychain_store.h"

namespace tobrel {

// The session's Secret Service, whose libraries are loaded with the first question where there is a session bus.
class SecretServiceOnDemand : public KeychainStorage {
public:
    explicit SecretServiceOnDemand(const SecretServiceBounds& bounds = {}) : bounds_(bounds) {}

    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override;
    OSStatus SecItemAdd(const SecAttributes& attributes) override;
    OSStatus SecItemDelete(const SecAttributes& query) override;
    OSStatus replace(const SecAttributes& query, const SecAttributes& item) override;
    void prepare() override;
    void interrupt() override;

private:
    // What stands in the way of asking it.
    OSStatus reach();

    const SecretServiceBounds bounds_;
    std::mutex mutex_;
    // Made once, guarded by the mutex until then.
    std::unique_ptr<KeychainStorage> service_;
    bool interrupted_ = false;
};

}  // namespace tobrel
