#include "frontends/terminal/pty.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace tobrel::testing {

PtyChild::PtyChild(const std::function<int()>& work, int columns, int rows) {
    winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns), 0, 0};
    process_ = forkpty(&master_, nullptr, nullptr, &size);
    if (process_ == 0) _exit(work());
}

PtyChild::~PtyChild() {
    hangUp();
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitStatus();
}

bool PtyChild::readMore() {
    constexpr int patienceInMilliseconds = 10'000;
    pollfd readable = {master_, POLLIN, 0};
    if (poll(&readable, 1, patienceInMilliseconds) != 1) return false;
    char bytes[4096];
    ssize_t count = read(master_, bytes, sizeof bytes);
    if (count > 0) unread_.append(bytes, static_cast<std::size_t>(count));
    return count > 0;
}

std::string PtyChild::expect(const std::string& text) {
    std::size_t found;
    while ((found = unread_.find(text)) == std::string::npos) {
        if (readMore()) continue;
        ADD_FAILURE() << "never came: " << text << "\nbut: " << unread_;
        return "";
    }
    std::string upTo = unread_.substr(0, found + text.size());
    unread_.erase(0, upTo.size());
    return upTo;
}

std::string PtyChild::rest() {
    while (readMore()) continue;
    return std::exchange(unread_, "");
}

void PtyChild::send(const std::string& keys) {
    EXPECT_EQ(write(master_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

void PtyChild::resize(int columns, int rows) {
    winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns), 0, 0};
    ioctl(master_, TIOCSWINSZ, &size);
}

void PtyChild::hangUp() {
    if (master_ >= 0) close(std::exchange(master_, -1));
}

int PtyChild::waitStatus() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
    process_ = 0;
    return status;
}

termios PtyChild::attributes() const {
    termios attributes = {};
    tcgetattr(master_, &attributes);
    return attributes;
}

}  // namespace tobrel::testing
