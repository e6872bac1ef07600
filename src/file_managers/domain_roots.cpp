#include "file_managers/domain_roots.h"

#include <sys/stat.h>

#include <algorithm>

#include "platform/linux/file_provider/local_path.h"
#include "platform/linux/file_provider/registry.h"
#include "platform/linux/user_database_posix.h"

namespace tobrel::menu {

DomainRoots::DomainRoots(std::vector<std::string> roots, const std::string& home, const std::string& realHome)
    : roots_(std::move(roots)) {
    if (home == realHome) return;
    for (std::size_t index = 0, real = roots_.size(); index < real; ++index)
        if (auto below = pathBelow(roots_[index], realHome)) roots_.push_back(pathIn(home, *below));
}

bool DomainRoots::contain(std::string_view path) const {
    return std::any_of(roots_.begin(), roots_.end(),
                       [&](const std::string& root) { return pathBelow(path, root).has_value(); });
}

std::string registryStamp() {
    // Asked once: the user database may be a service.
    static const std::string file = [] {
        PosixUserDatabase users(std::nullopt);
        return dataFolder(users) + "/file-provider.sqlite";
    }();
    std::string stamp;
    // What is written comes into the log first.
    for (const char* ending : {"", "-wal"}) {
        struct stat status = {};
        if (stat((file + ending).c_str(), &status) == 0)
            for (auto number :
                 {static_cast<long long>(status.st_ino), static_cast<long long>(status.st_size),
                  static_cast<long long>(status.st_mtim.tv_sec), static_cast<long long>(status.st_mtim.tv_nsec)})
                stamp += std::to_string(number) + ",";
        stamp += ";";
    }
    return stamp;
}

DomainRoots readDomainRoots() {
    PosixUserDatabase users(std::nullopt);
    FileProviderRegistry registry(dataFolder(users));
    auto snapshot = registry.read();
    if (!snapshot) return {};
    std::vector<std::string> roots;
    for (const RegisteredDomain& domain : (*snapshot)->domains()) roots.push_back(domain.root);
    std::string home = users.homeDirectory().value_or(users.NSHomeDirectory());
    return {std::move(roots), home, realPath(home).value_or(home)};
}

}  // namespace tobrel::menu
