#include "platform/linux/user_database_posix.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace tobrel {

std::optional<std::string> PosixUserDatabase::homeDirectory() {
    if (home_) return home_;
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16 * 1024);
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found || !found->pw_dir)
        return std::nullopt;
    return found->pw_dir;
}

std::string PosixUserDatabase::NSHomeDirectory() {
    if (home_) return *home_;
    const char* home = std::getenv("HOME");
    return home && *home ? home : "/";
}

}  // namespace tobrel
