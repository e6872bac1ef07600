#pragma once

#include <memory>

#include "platform/linux/files_posix.h"
#include "platform/linux_online/keychain/keychain_file.h"
#include "platform/linux_online/keychain/secret_service.h"

namespace tobrel {

class UserDatabase;

// The Secret Service where there is one, else the file. What was put into the file in a session without the service is
// found, and deleted, in one with it too.
class LinuxKeychain : public Keychain {
public:
    enum class Store { secretService, file };
    struct Found : SecItemCopyResult {
        // The store that holds the item, or that has the last word on why there is none.
        Store store;
    };

    // Without a secret service: the file alone. The file lies in a folder of its own below the given one.
    LinuxKeychain(const std::string& dataFolder, std::unique_ptr<Keychain> secretService);

    Found find(const SecAttributes& query);
    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override { return find(query); }
    OSStatus SecItemAdd(const SecAttributes& attributes) override;
    OSStatus SecItemDelete(const SecAttributes& query) override;

    void interrupt() override;

    KeychainFile& file() { return file_; }

private:
    PosixFiles files_;
    KeychainFile file_;
    const std::unique_ptr<Keychain> secretService_;
};

// The user's keychain; with a home folder given in place of the user's own, nothing but a file below it.
std::unique_ptr<LinuxKeychain> makeKeychain(UserDatabase& users, bool homeIsGiven,
                                            KeychainSecretService::Bounds bounds = {});

}  // namespace tobrel
