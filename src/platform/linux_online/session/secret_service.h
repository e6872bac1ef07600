#pragma once

#include <memory>

#include "platform/linux_online/keychain/keychain_store.h"

namespace tobrel {

// The session's Secret Service. Nothing is connected before the first call. A locked keyring is asked to be unlocked
// once in this object's life, and the user's answer is waited for; where it is no, or too long in coming, what lies in
// it is errSecInteractionNotAllowed. Without a service everything is errSecNotAvailable at once; with one that does not
// answer in time, errSecIO.
class KeychainSecretService : public KeychainStorage {
public:
    explicit KeychainSecretService(const SecretServiceBounds& bounds = {});
    ~KeychainSecretService() override;

    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override;
    OSStatus SecItemAdd(const SecAttributes& attributes) override;
    OSStatus SecItemDelete(const SecAttributes& query) override;
    OSStatus replace(const SecAttributes& query, const SecAttributes& item) override;

    void prepare() override;
    // What it ends is errSecIO.
    void interrupt() override;

private:
    class Connection;
    const std::unique_ptr<Connection> connection_;
};

}  // namespace tobrel
