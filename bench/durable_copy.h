#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

namespace tobrel::bench {

// Copies the queue under the home folder over itself by way of the disk: the least that a replacement can cost.
inline void replaceQueue(const std::string& home) {
    constexpr std::size_t portion = std::size_t{512} * 1024;
    const std::string folder = home + "/.tobrel", queue = folder + "/pinned_pending.json", copy = folder + "/copy";
    auto buffer = std::make_unique_for_overwrite<char[]>(portion);
    int from = open(queue.c_str(), O_RDONLY | O_CLOEXEC);
    int to = open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    ssize_t count;
    while ((count = read(from, buffer.get(), portion)) > 0)
        if (write(to, buffer.get(), static_cast<std::size_t>(count)) != count) std::abort();
    int above = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (count != 0 || fsync(to) != 0 || std::rename(copy.c_str(), queue.c_str()) != 0 || fsync(above) != 0)
        std::abort();
}

}  // namespace tobrel::bench
