#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>
#include <utility>

#include "platform/file_descriptor.h"

namespace tobrel::testing {

// A child process of this test on a terminal of its own, and this test as the person before it.
class PtyChild {
public:
    // The work runs in the child, with the terminal as its standard input, output and error.
    explicit PtyChild(const std::function<int()>& work) {
        winsize size = {24, 80, 0, 0};
        int master = -1;
        process_ = forkpty(&master, nullptr, nullptr, &size);
        if (process_ == 0) _exit(work());
        master_ = FileDescriptor(master);
    }
    ~PtyChild() {
        if (process_ <= 0) return;
        kill(process_, SIGKILL);
        waitStatus();
    }

    // Waits for the text and forgets all up to it; fails the test after some seconds without it.
    void expect(const std::string& text) {
        while (unread_.find(text) == std::string::npos && readMore()) continue;
        std::size_t found = unread_.find(text);
        if (found == std::string::npos) ADD_FAILURE() << "never came: " << text << "\nbut: " << unread_;
        unread_.erase(0, found == std::string::npos ? 0 : found + text.size());
    }
    // The rest, up to the end of the child.
    std::string rest() {
        while (readMore()) continue;
        return unread_;
    }
    void send(const std::string& keys) { EXPECT_GT(write(master_.number(), keys.data(), keys.size()), 0); }
    void resize(unsigned short columns, unsigned short rows) {
        winsize size = {rows, columns, 0, 0};
        ioctl(master_.number(), TIOCSWINSZ, &size);
    }
    void hangUp() { master_ = FileDescriptor(); }
    // As waitpid gives it.
    int waitStatus() {
        int status = 0;
        waitpid(std::exchange(process_, 0), &status, 0);
        return status;
    }
    // Whether the terminal is in that local mode: ECHO, ICANON.
    bool has(tcflag_t mode) const {
        termios attributes = {};
        tcgetattr(master_.number(), &attributes);
        return attributes.c_lflag & mode;
    }

private:
    bool readMore() {
        constexpr int patienceInMilliseconds = 10'000;
        pollfd readable = {master_.number(), POLLIN, 0};
        char bytes[4096];
        ssize_t count =
            poll(&readable, 1, patienceInMilliseconds) == 1 ? read(master_.number(), bytes, sizeof bytes) : 0;
        if (count > 0) unread_.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }

    FileDescriptor master_;
    pid_t process_ = 0;
    std::string unread_;
};

}  // namespace tobrel::testing
