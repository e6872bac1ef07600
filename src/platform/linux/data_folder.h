#pragma once

#include <string>

namespace tobrel {

class UserDatabase;

// Where the platform layer keeps what is its own (domain registry, fallback keychain): a folder under the home folder.
// Creates nothing.
std::string dataFolder(UserDatabase& users);

}  // namespace tobrel
