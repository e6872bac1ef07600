#include "state/keychain_store.h"

#include "platform/platform.h"
#include "text/utf8.h"

namespace tobrel::KeychainStore {

namespace {

SecAttributes base() {
    return {
        {kSecClass, kSecClassGenericPassword},
        {kSecAttrService, service},
        {kSecAttrAccessGroup, accessGroup},
        {kSecUseDataProtectionKeychain, true},
    };
}

}  // namespace

std::optional<std::string> readKey() {
    SecAttributes query = base();
    query[kSecReturnData] = true;
    query[kSecMatchLimit] = kSecMatchLimitOne;
    auto [status, value] = platform::online().keychain.SecItemCopyMatching(query);
    if (status != errSecSuccess || !value) return std::nullopt;
    const CFData* data = std::get_if<CFData>(&*value);
    if (!data || data->bytes.empty() || !isUtf8(data->bytes)) return std::nullopt;
    return data->bytes;
}

OSStatus saveKey(const std::string& key, const std::string& account) {
    Keychain& keychain = platform::online().keychain;
    keychain.SecItemDelete(base());
    SecAttributes item = base();
    item[kSecAttrAccount] = account;
    item[kSecAttrLabel] = "Tobrel account key";
    item[kSecValueData] = CFData{key};
    item[kSecAttrAccessible] = kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly;
    return keychain.SecItemAdd(item);
}

void deleteKey() {
    platform::online().keychain.SecItemDelete(base());
}

std::string describe(OSStatus status) {
    return SecCopyErrorMessageString(status).value_or("OSStatus " + std::to_string(status));
}

}  // namespace tobrel::KeychainStore
