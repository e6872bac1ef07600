#include "admin/secret_input.h"

#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace tobrel::admin {

namespace {

constexpr std::size_t largestSecret = std::size_t{64} * 1024;

volatile std::sig_atomic_t interruption = 0;

// Typing is not shown as long as it lives; a signal that would end the program first ends the reading.
class SilentTerminal {
public:
    SilentTerminal() {
        interruption = 0;
        struct sigaction interrupt = {};
        interrupt.sa_handler = [](int signal) { interruption = signal; };
        for (std::size_t each = 0; each < signals.size(); ++each) sigaction(signals[each], &interrupt, &former_[each]);
        tcgetattr(STDIN_FILENO, &shown_);
        termios silent = shown_;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal() {
        tcsetattr(STDIN_FILENO, TCSANOW, &shown_);
        for (std::size_t each = 0; each < signals.size(); ++each) sigaction(signals[each], &former_[each], nullptr);
        if (interruption) raise(interruption);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

private:
    static constexpr std::array<int, 4> signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, signals.size()> former_{};
    termios shown_{};
};

// Up to the end of input, or of a terminal's line.
std::optional<std::string> readAll(bool oneLine) {
    std::string text;
    std::array<char, 4096> buffer;
    while (text.size() <= largestSecret) {
        ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR && !interruption) continue;
        if (count < 0) return std::nullopt;
        text.append(buffer.data(), static_cast<std::size_t>(count));
        if (count == 0 || (oneLine && text.ends_with('\n'))) return text;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> readSecret(const std::string& prompt) {
    std::optional<std::string> secret;
    if (isatty(STDIN_FILENO)) {
        if (write(STDERR_FILENO, prompt.data(), prompt.size()) < 0) return std::nullopt;
        SilentTerminal silence;
        secret = readAll(true);
    } else {
        secret = readAll(false);
    }
    if (secret && secret->ends_with('\n')) {
        secret->pop_back();
        if (secret->ends_with('\r')) secret->pop_back();
    }
    return secret;
}

}  // namespace tobrel::admin
