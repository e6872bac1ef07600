#include "state/paths.h"

#include "platform/platform.h"
#include "platform/user_database.h"

namespace tobrel::Paths {

namespace {

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
    return appending(appending(home(), ".tobrel"), name);
}

}  // namespace tobrel::Paths
