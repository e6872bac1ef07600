#pragma once

#include <string>

#include "platform/linux_online/keychain/keychain_linux.h"

namespace tobrel::admin {

// What the keychain says about the API key's item.
LinuxKeychain::Found findKeyItem(LinuxKeychain& keychain);
std::string describe(LinuxKeychain& keychain, LinuxKeychain::Store store);

// The key that requests carry, and where it comes from.
struct KeySource {
    enum class Place { none, secretService, keychainFile, configFile };
    std::string key;
    Place place;
    // In words.
    std::string where;
};
KeySource findKey(LinuxKeychain& keychain);

}  // namespace tobrel::admin
