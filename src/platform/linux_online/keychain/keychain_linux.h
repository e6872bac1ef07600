#pragma once

#include <memory>

#include "platform/linux/files_posix.h"
#include "platform/linux_online/keychain/keychain_file.h"
#include "platform/linux_online/keychain/keychain_store.h"

namespace tobrel {

class UserDatabase;

// The Secret Service where there is one, else the file. An item in the file goes before one in the service: it was put
// there later, in a session without the service, as what is put into the service takes it out of the file.
class LinuxKeychain : public Keychain {
public:
    enum class Store { secretService, file };
    struct Found : SecItemCopyResult {
        // The store that holds the item, or that has the last word on why there is none.
        Store store;
    };

    // Without a secret service: the file alone. The file lies in a folder of its own below the given one.
    LinuxKeychain(const std::string& dataFolder, std::unique_ptr<KeychainStorage> secretService);

    // While it lives, what is deleted goes only once the next item has been added, in one step with that; where adding
    // fails, it stays. One at a time, on one thread. Without a store: the service where there is one, else the file.
    class Replacing {
    public:
        Replacing(LinuxKeychain& keychain, std::optional<Store> store) : keychain_(keychain) {
            keychain_.replacing_ = {true, store, std::nullopt};
        }
        ~Replacing() { keychain_.replacing_ = {}; }
        Replacing(const Replacing&) = delete;
        Replacing& operator=(const Replacing&) = delete;

    private:
        LinuxKeychain& keychain_;
    };

    Found find(const SecAttributes& query);
    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override { return find(query); }
    OSStatus SecItemAdd(const SecAttributes& attributes) override;
    OSStatus SecItemDelete(const SecAttributes& query) override;

    // Lets the Secret Service do beforehand what the first question would wait for, where the file has no answer to it.
    void prepare();
    void interrupt() override;

    // Whether there is a service to ask, and it can be reached.
    enum class Service { none, unreachable, reached };
    Service service();

    KeychainFile& file() { return file_; }

private:
    struct Replacement {
        bool isUnderWay = false;
        std::optional<Store> store;
        std::optional<SecAttributes> replaced;
    };
    OSStatus replace(const SecAttributes& query, const SecAttributes& item);

    Replacement replacing_;
    PosixFiles files_;
    KeychainFile file_;
    const std::unique_ptr<KeychainStorage> secretService_;
};

// The user's keychain; with a home folder given in place of the user's own, nothing but a file below it.
std::unique_ptr<LinuxKeychain> makeKeychain(UserDatabase& users, bool homeIsGiven,
                                            const SecretServiceBounds& bounds = {});

}  // namespace tobrel
