#include "platform/file_descriptor.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>

namespace tobrel {

std::optional<Pipe> openPipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    return Pipe{FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool writeWhole(int descriptor, std::string_view bytes, std::optional<std::chrono::milliseconds> patience) {
    while (!bytes.empty()) {
        ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (written == 0) errno = ENOSPC;
        if (errno == EINTR) continue;
        pollfd writable = {descriptor, POLLOUT, 0};
        if (errno != EAGAIN || poll(&writable, 1, patience ? static_cast<int>(patience->count()) : -1) == 0)
            return false;
    }
    return true;
}

}  // namespace tobrel
