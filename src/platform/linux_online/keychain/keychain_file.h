#pragma once

#include <string>
#include <vector>

#include "platform/linux_online/keychain/keychain_item.h"
#include "platform/linux_online/keychain/keychain_store.h"

namespace tobrel {

class Files;

// A keychain in one encrypted file, for where there is no secret service. The key to it is derived from the machine's
// id, so a copy on another machine (a backup, a synchronised home folder) is refused instead of read. It protects
// against other users of this machine by its mode alone, and not at all against the user's own programs or root, who
// can read the machine's id too.
class KeychainFile : public KeychainStorage {
public:
    // The folder is made with mode 0700 on the first SecItemAdd, the file in it with 0600.
    KeychainFile(Files& files, std::string folder, std::string machineIdFile = "/etc/machine-id");

    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override;
    OSStatus SecItemAdd(const SecAttributes& attributes) override;
    // A file that cannot be deciphered here holds nothing that could be matched: it is removed as a whole.
    OSStatus SecItemDelete(const SecAttributes& query) override;
    OSStatus replace(const SecAttributes& query, const SecAttributes& item) override;

    void interrupt() override {}

    const std::string& path() const { return path_; }
    // Why the file is refused, and the way out; nothing where all is well.
    struct Complaint {
        std::string what;
        std::string wayOut;
    };
    std::optional<Complaint> complaint();

private:
    enum class State { absent, readable, exposed, undecipherable, unreadable };
    struct Content {
        State state;
        std::vector<KeychainItem> items;
    };

    static OSStatus statusOf(State state);
    State examine() const;
    Content read();
    OSStatus write(const std::vector<KeychainItem>& items);
    std::string machineIdentity() const;

    Files& files_;
    const std::string folder_;
    const std::string path_;
    const std::string machineIdFile_;
};

}  // namespace tobrel
