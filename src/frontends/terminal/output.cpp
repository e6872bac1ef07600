#include "frontends/terminal/output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace tobrel::terminal {

bool writeAll(int descriptor, std::string_view bytes) {
    constexpr int patienceInMilliseconds = 5000;
    while (!bytes.empty()) {
        ssize_t written = write(descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (errno == EINTR) continue;
        pollfd writable = {descriptor, POLLOUT, 0};
        if (errno != EAGAIN || poll(&writable, 1, patienceInMilliseconds) == 0) return false;
    }
    return true;
}

}  // namespace tobrel::terminal
