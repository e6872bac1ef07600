#pragma once

#include <optional>
#include <string>

#include "platform/keychain.h"

// The API key's one item in the keychain, asked for afresh at each call; blocks for what the keychain takes. Any
// thread.
namespace tobrel::KeychainStore {

inline constexpr const char* accessGroup = "group.com.qelmo.tobrel";
inline constexpr const char* service = "com.qelmo.tobrel.api-key";

// Never an empty text; nothing for whatever reason there is no usable key.
std::optional<std::string> readKey();
// Replaces every earlier item of the service, whatever its account.
OSStatus saveKey(const std::string& key, const std::string& account);
void deleteKey();
std::string describe(OSStatus status);

}  // namespace tobrel::KeychainStore
