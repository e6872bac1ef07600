#include "admin/key_source.h"

#include "state/config.h"
#include "state/keychain_store.h"
#include "state/paths.h"
#include "text/harmless_text.h"

namespace tobrel::admin {

LinuxKeychain::Found findKeyItem(LinuxKeychain& keychain) {
    return keychain.find({{kSecClass, kSecClassGenericPassword},
                          {kSecAttrService, KeychainStore::service},
                          {kSecAttrAccessGroup, KeychainStore::accessGroup}});
}

std::string describe(LinuxKeychain& keychain, LinuxKeychain::Store store) {
    if (store == LinuxKeychain::Store::secretService) return "the Secret Service";
    return "the keychain file " + inQuotes(keychain.file().path());
}

KeySource findKey(LinuxKeychain& keychain) {
    if (auto key = KeychainStore::readKey()) {
        auto store = findKeyItem(keychain).store;
        bool isFile = store == LinuxKeychain::Store::file;
        return {*key, isFile ? KeySource::Place::keychainFile : KeySource::Place::secretService,
                describe(keychain, store)};
    }
    std::string key = Config::apiKey();
    if (!key.empty()) return {key, KeySource::Place::configFile, inQuotes(Paths::in("config.json"))};
    return {"", KeySource::Place::none, ""};
}

}  // namespace tobrel::admin
