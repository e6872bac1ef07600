#include "frontends/terminal/clipboard.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

#include "frontends/terminal/raw_terminal.h"
#include "platform/file_descriptor.h"

namespace tobrel::terminal {

namespace {

// Terminals that take long texts at all take 100,000 bytes of sequence.
constexpr std::size_t longestText = 74'000;
constexpr std::chrono::seconds patience{1};

constexpr const char* reachedTmux =
    "The address is in tmux’s buffer. tmux hands it on to your terminal where that is allowed.";
constexpr const char* reachedTerminal =
    "Your terminal was asked to take the address. If there is nothing to paste, copy it from below.";
constexpr const char* reachedNothing = "No clipboard can be reached from here. Please copy the address below.";

std::string base64(std::string_view text) {
    static constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        std::size_t given = std::min<std::size_t>(3, text.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < given ? static_cast<unsigned char>(text[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k) result += k <= given ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return result;
}

// Ends when the other side of the pipe has been closed; false: not in time.
bool waitForEnd(int pipe) {
    auto deadline = std::chrono::steady_clock::now() + patience;
    char ignored[256];
    while (true) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        pollfd readable = {pipe, POLLIN, 0};
        if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) == 0) return false;
        if (readable.revents && read(pipe, ignored, sizeof ignored) == 0) return true;
    }
}

// Its standard input is a file, so that nobody has to feed it; its standard output tells of its end.
pid_t spawnTmux(int input, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    const char* arguments[] = {"tmux", "load-buffer", "-w", "-", nullptr};
    pid_t process = 0;
    if (posix_spawnp(&process, "tmux", &actions, &attributes, const_cast<char**>(arguments), environ) != 0) process = 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

bool giveToTmux(const std::string& text) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    if (!file || !writeWhole(fileno(file.get()), text) || lseek(fileno(file.get()), 0, SEEK_SET) != 0) return false;
    auto pipe = openPipe();
    if (!pipe) return false;
    pid_t process = spawnTmux(fileno(file.get()), pipe->writing.number());
    if (process == 0) return false;
    pipe->writing = FileDescriptor();
    if (!waitForEnd(pipe->reading.number())) kill(process, SIGKILL);
    int status = 0;
    return waitpid(process, &status, 0) == process && status == 0;
}

}  // namespace

std::optional<std::string> clipboardSequence(std::string_view text) {
    if (text.size() > longestText) return std::nullopt;
    return "\x1B]52;c;" + base64(text) + "\a";
}

Clipboard::Clipboard(int output, TerminalEnvironment environment)
    : output_(output), environment_(std::move(environment)) {}

void Clipboard::set(const std::string& text) {
    note_.about = text;
    if (environment_.insideTmux)
        note_.text = giveToTmux(text) ? reachedTmux : reachedNothing;
    else
        note_.text = sendToTerminal() ? reachedTerminal : reachedNothing;
}

bool Clipboard::sendToTerminal() const {
    auto sequence = clipboardSequence(note_.about);
    // The Linux console has no clipboard.
    if (!sequence || !environment_.takesEscapeSequences() || environment_.term == "linux") return false;
    if (isatty(output_)) return showOn(output_, *sequence);
    FileDescriptor terminal(open(environment_.controllingTerminal.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    return terminal && isatty(terminal.number()) && showOn(terminal.number(), *sequence);
}

}  // namespace tobrel::terminal
