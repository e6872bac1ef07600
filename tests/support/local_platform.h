#pragma once

#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/platform.h"

namespace tobrel::testing {

// Installed for its life: the real files and user database over one home folder, and nothing else.
class LocalPlatform {
public:
    explicit LocalPlatform(const std::string& home, std::chrono::milliseconds lockPatience = std::chrono::seconds(5))
        : users_(home), files_({}, lockPatience) {}

private:
    PosixUserDatabase users_;
    PosixFiles files_;
    const platform::Installation installation_{{users_, files_}};
};

}  // namespace tobrel::testing
