#include "platform/linux_online/keychain/keychain_linux.h"

#include <unistd.h>

#include "platform/linux/user_database_posix.h"
#include "platform/linux_online/keychain/secret_service_on_demand.h"

namespace tobrel {

LinuxKeychain::LinuxKeychain(const std::string& dataFolder, std::unique_ptr<KeychainStorage> secretService)
    : file_(files_, dataFolder + "/keychain"), secretService_(std::move(secretService)) {}

LinuxKeychain::Found LinuxKeychain::find(const SecAttributes& query) {
    SecItemCopyResult inFile = file_.SecItemCopyMatching(query);
    if (inFile.status == errSecSuccess) return {std::move(inFile), Store::file};
    SecItemCopyResult inService{errSecNotAvailable, std::nullopt};
    if (secretService_) inService = secretService_->SecItemCopyMatching(query);
    bool speaksForBoth = inFile.status == errSecItemNotFound && inService.status != errSecNotAvailable;
    if (inService.status == errSecSuccess || speaksForBoth) return {std::move(inService), Store::secretService};
    return {std::move(inFile), Store::file};
}

OSStatus LinuxKeychain::SecItemAdd(const SecAttributes& attributes) {
    if (replacing_.isUnderWay) return replace(replacing_.replaced.value_or(attributes), attributes);
    OSStatus status = secretService_ ? secretService_->SecItemAdd(attributes) : errSecNotAvailable;
    return status == errSecNotAvailable ? file_.SecItemAdd(attributes) : status;
}

OSStatus LinuxKeychain::SecItemDelete(const SecAttributes& query) {
    if (replacing_.isUnderWay) {
        replacing_.replaced = query;
        return errSecSuccess;
    }
    OSStatus inService = secretService_ ? secretService_->SecItemDelete(query) : errSecNotAvailable;
    bool found = inService == errSecSuccess;
    if (!found && inService != errSecNotAvailable && inService != errSecItemNotFound) return inService;
    OSStatus inFile = file_.SecItemDelete(query);
    return found && inFile == errSecItemNotFound ? errSecSuccess : inFile;
}

OSStatus LinuxKeychain::replace(const SecAttributes& query, const SecAttributes& item) {
    OSStatus status = errSecNotAvailable;
    if (secretService_ && replacing_.store != Store::file) status = secretService_->replace(query, item);
    if (status == errSecSuccess) {
        OSStatus former = file_.SecItemDelete(query);
        return former == errSecItemNotFound ? errSecSuccess : former;
    }
    if (status != errSecNotAvailable || replacing_.store == Store::secretService) return status;
    return file_.replace(query, item);
}

LinuxKeychain::Service LinuxKeychain::service() {
    if (!secretService_) return Service::none;
    SecAttributes anything{{kSecClass, kSecClassGenericPassword}, {kSecAttrService, ""}};
    bool reached = secretService_->SecItemCopyMatching(anything).status != errSecNotAvailable;
    return reached ? Service::reached : Service::unreachable;
}

void LinuxKeychain::prepare() {
    if (secretService_ && access(file_.path().c_str(), F_OK) != 0) secretService_->prepare();
}

void LinuxKeychain::interrupt() {
    if (secretService_) secretService_->interrupt();
}

std::unique_ptr<LinuxKeychain> makeKeychain(UserDatabase& users, bool homeIsGiven, const SecretServiceBounds& bounds) {
    auto service = homeIsGiven ? nullptr : std::make_unique<SecretServiceOnDemand>(bounds);
    return std::make_unique<LinuxKeychain>(dataFolder(users), std::move(service));
}

}  // namespace tobrel
