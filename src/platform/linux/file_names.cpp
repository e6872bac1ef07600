#include "platform/linux/file_names.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace tobrel {

namespace {

// Only those made under the lock can be told from abandoned ones before they are old.
constexpr std::string_view prefix = ".tobrel-", guardedSuffix = ".tmp", unguardedSuffix = ".new", oldSuffix = ".old";
constexpr time_t abandonedAfter = 60;
constexpr int mostKept = 9;

bool isTemporary(std::string_view name) {
    constexpr std::size_t digits = 16;
    if (!name.starts_with(prefix) || name.size() != prefix.size() + digits + guardedSuffix.size()) return false;
    name.remove_prefix(prefix.size());
    std::string_view suffix = name.substr(digits);
    return name.find_first_not_of("0123456789abcdef") == digits &&
           (suffix == guardedSuffix || suffix == unguardedSuffix || suffix == oldSuffix);
}

std::string keptName(const std::string& path, int number) {
    return path + ".kept" + (number == 1 ? "" : "-" + std::to_string(number));
}

// A signal may interrupt it on a file system of the network.
bool renameAs(const std::string& from, const std::string& to, unsigned how) {
    int renamed;
    do {
        renamed = ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), how);
    } while (renamed != 0 && errno == EINTR);
    return renamed == 0;
}

bool isUnknownToFileSystem(int error) {
    return error == EINVAL || error == ENOSYS || error == ENOTTY;
}

}  // namespace

std::string folderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    if (slash == path.npos) return ".";
    return path.substr(0, slash == 0 ? 1 : slash);
}

FileDescriptor openFolder(const std::string& path) {
    int folder;
    do {
        folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    } while (folder < 0 && errno == EINTR);
    return FileDescriptor(folder);
}

FileState stateOf(const std::string& path) {
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) return {};
    auto number = [](auto value) { return static_cast<std::uint64_t>(value); };
    return {{number(status.st_dev), number(status.st_ino), number(status.st_size), number(status.st_mtim.tv_sec),
             number(status.st_mtim.tv_nsec)}};
}

std::string temporaryName(Guard guard) {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) return {};
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(number));
    return std::string(prefix).append(digits).append(guard == Guard::lock ? guardedSuffix : unguardedSuffix);
}

void removeLeftovers(const std::string& path, int folder) {
    DIR* listing = ::opendir(path.c_str());
    if (!listing) return;
    while (const dirent* entry = ::readdir(listing)) {
        std::string_view name = entry->d_name;
        if (!isTemporary(name)) continue;
        struct stat status;
        bool isAbandoned =
            name.ends_with(guardedSuffix) || (::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                                              status.st_ctime + abandonedAfter < ::time(nullptr));
        if (isAbandoned) ::unlinkat(folder, entry->d_name, 0);
    }
    ::closedir(listing);
}

bool renameToFree(const std::string& from, const std::string& to) {
    if (renameAs(from, to, RENAME_NOREPLACE)) return true;
    if (!isUnknownToFileSystem(errno)) return false;
    if (::link(from.c_str(), to.c_str()) == 0) return ::unlink(from.c_str()) == 0;
    if (errno == EEXIST || errno == ENOENT) return false;
    // The file system has no hard links either: look first, then rename.
    if (stateOf(to) == FileState()) return ::rename(from.c_str(), to.c_str()) == 0;
    errno = EEXIST;
    return false;
}

bool exchangeNames(const std::string& from, const std::string& to) {
    if (renameAs(from, to, RENAME_EXCHANGE)) return true;
    if (!isUnknownToFileSystem(errno)) return false;
    const std::string old = from.substr(0, from.size() - oldSuffix.size()).append(oldSuffix);
    // Without links, the name is free for a moment.
    if (::link(to.c_str(), old.c_str()) != 0 && (errno == ENOENT || ::rename(to.c_str(), old.c_str()) != 0))
        return false;
    bool placed = ::rename(from.c_str(), to.c_str()) == 0;
    int error = errno;
    if (placed)
        ::rename(old.c_str(), from.c_str());
    else if (!renameToFree(old, to))
        ::unlink(old.c_str());
    errno = error;
    return placed;
}

std::optional<std::string> keepBeside(const std::string& from, const std::string& path) {
    for (int number = 1; number <= mostKept; ++number) {
        std::string name = keptName(path, number);
        if (renameToFree(from, name)) return name;
        if (errno != EEXIST) break;
    }
    return std::nullopt;
}

std::vector<std::string> keptBeside(const std::string& path) {
    std::vector<std::string> names;
    for (int number = 1; number <= mostKept; ++number)
        if (stateOf(keptName(path, number)) != FileState()) names.push_back(keptName(path, number));
    return names;
}

}  // namespace tobrel
