#pragma once

#include <string>

// The settings, looked up afresh at each call: config.json in the private folder, and the keychain for the key. What
// is missing or unusable is "", and so is all of a file that another user could have written. Any thread.
namespace tobrel::Config {

// Without trailing slashes.
std::string server();
// The keychain's key, or else the file's.
std::string apiKey();

}  // namespace tobrel::Config
