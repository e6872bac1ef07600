#include "platform/linux_online/keychain/keychain_linux.h"

#include "platform/linux/data_folder.h"

namespace tobrel {

LinuxKeychain::LinuxKeychain(const std::string& dataFolder, std::unique_ptr<Keychain> secretService)
    : file_(files_, dataFolder + "/keychain"), secretService_(std::move(secretService)) {}

LinuxKeychain::Found LinuxKeychain::find(const SecAttributes& query) {
    SecItemCopyResult inService{errSecNotAvailable, std::nullopt};
    if (secretService_) inService = secretService_->SecItemCopyMatching(query);
    if (inService.status == errSecSuccess) return {std::move(inService), Store::secretService};
    SecItemCopyResult inFile = file_.SecItemCopyMatching(query);
    if (inFile.status == errSecItemNotFound && inService.status != errSecNotAvailable)
        return {std::move(inService), Store::secretService};
    return {std::move(inFile), Store::file};
}

OSStatus LinuxKeychain::SecItemAdd(const SecAttributes& attributes) {
    OSStatus status = secretService_ ? secretService_->SecItemAdd(attributes) : errSecNotAvailable;
    return status == errSecNotAvailable ? file_.SecItemAdd(attributes) : status;
}

OSStatus LinuxKeychain::SecItemDelete(const SecAttributes& query) {
    OSStatus inService = secretService_ ? secretService_->SecItemDelete(query) : errSecNotAvailable;
    bool found = inService == errSecSuccess;
    if (!found && inService != errSecNotAvailable && inService != errSecItemNotFound) return inService;
    OSStatus inFile = file_.SecItemDelete(query);
    return found && inFile == errSecItemNotFound ? errSecSuccess : inFile;
}

void LinuxKeychain::interrupt() {
    if (secretService_) secretService_->interrupt();
}

std::unique_ptr<LinuxKeychain> makeKeychain(UserDatabase& users, bool homeIsGiven,
                                            KeychainSecretService::Bounds bounds) {
    auto service = homeIsGiven ? nullptr : std::make_unique<KeychainSecretService>(bounds);
    return std::make_unique<LinuxKeychain>(dataFolder(users), std::move(service));
}

}  // namespace tobrel
