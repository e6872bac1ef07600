#include "state/paths.h"

#include "platform/platform.h"
#include "platform/user_database.h"

namespace tobrel::Paths {

namespace {

constexpr const char* folderName = ".tobrel";

std::string appending(std::string path, const std::string& component) {
    if (!path.empty() && path.back() != '/') path += '/';
    return path + component;
}

}  // namespace

std::string home() {
    UserDatabase& users = platform::current().users;
    auto directory = users.homeDirectory();
    return directory ? *directory : users.NSHomeDirectory();
}

std::string in(const std::string& name) {
    return inHome(home(), name);
}

std::string privateFolder() {
    return appending(home(), folderName);
}

std::string inHome(const std::string& home, const std::string& name) {
    return appending(appending(home, folderName), name);
}

}  // namespace tobrel::Paths
