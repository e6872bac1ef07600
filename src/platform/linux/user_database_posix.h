#pragma once

#include <optional>
#include <string>

#include "platform/user_database.h"

namespace tobrel {

// The C library's user database, or one given folder in its place.
class PosixUserDatabase : public UserDatabase {
public:
    explicit PosixUserDatabase(std::optional<std::string> home) : home_(std::move(home)) {}
    std::optional<std::string> homeDirectory() override;
    std::string NSHomeDirectory() override;

private:
    const std::optional<std::string> home_;
};

// Where the platform layer keeps what is its own (domain registry, fallback keychain): a folder under the home folder.
// Creates nothing.
std::string dataFolder(UserDatabase& users);

}  // namespace tobrel
