#include "platform/linux/file_trust.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>

namespace tobrel {

namespace {

std::string folderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    return slash == path.npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
}

std::string realPath(const std::string& path) {
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };
    std::unique_ptr<char, Free> real(::realpath(path.c_str(), nullptr));
    return real ? real.get() : path;
}

Writers writersOf(const std::string& place) {
    struct stat status = {};
    if (::stat(place.c_str(), &status) != 0) return Writers::user;
    if (status.st_uid != ::geteuid() && status.st_uid != 0) return Writers::anotherUser;
    if (status.st_mode & S_IWOTH) return Writers::everybody;
    return status.st_mode & S_IWGRP ? Writers::group : Writers::user;
}

}  // namespace

FileTrust trustOf(const std::string& path) {
    const std::string real = realPath(path);
    FileTrust least;
    for (const std::string& place : {folderOf(path), folderOf(real), real})
        if (Writers writers = writersOf(place); writers > least.writers) least = {writers, place};
    return least;
}

}  // namespace tobrel
