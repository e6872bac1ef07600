#include "platform/linux/user_database_posix.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace tobrel {

std::optional<std::string> PosixUserDatabase::homeDirectory() {
    if (home_) return home_;
    passwd entry{};
    passwd* found = nullptr;
    constexpr std::size_t largestEntry = std::size_t{64} * 1024 * 1024;
    std::vector<char> buffer(4 * 1024);
    int error;
    while ((error = getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found)) == ERANGE || error == EINTR) {
        if (buffer.size() > largestEntry) return std::nullopt;
        if (error == ERANGE) buffer.resize(buffer.size() * 2);
    }
    if (error != 0 || !found || !found->pw_dir) return std::nullopt;
    return found->pw_dir;
}

std::string PosixUserDatabase::NSHomeDirectory() {
    if (home_) return *home_;
    const char* home = std::getenv("HOME");
    return home && *home ? home : "/";
}

std::string dataFolder(UserDatabase& users) {
    return users.homeDirectory().value_or(users.NSHomeDirectory()) + "/.local/share/tobrel";
}

}  // namespace tobrel
