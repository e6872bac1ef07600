#pragma once

#include <string>

// The settings, looked up afresh at each call: config.json in the private folder, and the keychain for the key. What
// is missing or unusable is "". Any thread.
namespace tobrel::Config {

// Without trailing slashes.
std::string server();
// The keychain's key, or else the file's.
std::string apiKey();

}  // namespace tobrel::Config
