#pragma once

#include <sys/types.h>
#include <termios.h>

#include <functional>
#include <string>

namespace tobrel::testing {

// A child process of this test on a terminal of its own, and this test as the person before it.
class PtyChild {
public:
    // The work runs in the child, with the terminal as its standard input, output and error.
    explicit PtyChild(const std::function<int()>& work, int columns = 80, int rows = 24);
    ~PtyChild();
    PtyChild(const PtyChild&) = delete;
    PtyChild& operator=(const PtyChild&) = delete;

    // Everything from the last expected text up to and with this one; fails the test after some seconds without it.
    std::string expect(const std::string& text);
    // The rest, up to the end of the child.
    std::string rest();
    void send(const std::string& keys);
    void resize(int columns, int rows);
    void hangUp();
    pid_t process() const { return process_; }
    // As waitpid gives it.
    int waitStatus();
    termios attributes() const;

private:
    bool readMore();

    int master_ = -1;
    pid_t process_ = 0;
    std::string unread_;
};

}  // namespace tobrel::testing
