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

}  // namespace tobrel
