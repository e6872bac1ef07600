#include "frontends/terminal/clipboard.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

#include "frontends/terminal/output.h"
#include "platform/main_loop.h"

namespace tobrel::terminal {

namespace {

// Terminals that take long texts at all take 100,000 bytes of sequence.
constexpr std::size_t longestText = 74'000;
constexpr int patienceInMilliseconds = 1000;

constexpr const char* reachedTmux =
    "The address is in tmux’s buffer. tmux hands it on to your terminal where that is allowed.";
constexpr const char* reachedTerminal =
    "Your terminal was asked to take the address. If there is nothing to paste, copy it from above.";
constexpr const char* reachedNothing = "No clipboard can be reached from here. Please copy the address above.";

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

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

private:
    const int number_;
};

// Its standard input is a file in memory, so that nobody has to feed it. 0 where it cannot be started.
pid_t spawnTmux(const std::string& text) {
    Descriptor input(memfd_create("clipboard", MFD_CLOEXEC));
    if (input.number() < 0 || !writeAll(input.number(), text) || lseek(input.number(), 0, SEEK_SET) != 0) return 0;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.number(), STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
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

}  // namespace

std::optional<std::string> clipboardSequence(std::string_view text) {
    if (text.size() > longestText) return std::nullopt;
    return "\x1B]52;c;" + base64(text) + "\a";
}

Clipboard::Clipboard(int output, TerminalEnvironment environment)
    : output_(output), environment_(std::move(environment)) {}

Clipboard::~Clipboard() {
    finish();
}

void Clipboard::set(const std::string& text, MainLoop& loop) {
    finish();
    note_ = {text, ""};
    if (environment_.insideTmux && startTmux(loop)) return;
    bool sent = !environment_.insideTmux && sendToTerminal();
    note_.text = sent ? reachedTerminal : reachedNothing;
}

bool Clipboard::sendToTerminal() const {
    auto sequence = clipboardSequence(note_.about);
    // The Linux console has no clipboard.
    if (!sequence || !environment_.takesEscapeSequences() || environment_.term == "linux") return false;
    if (isatty(output_)) return writeAll(output_, *sequence);
    Descriptor terminal(open(environment_.controllingTerminal.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
    return terminal.number() >= 0 && isatty(terminal.number()) && writeAll(terminal.number(), *sequence);
}

bool Clipboard::startTmux(MainLoop& loop) {
    process_ = spawnTmux(note_.about);
    if (process_ == 0) return false;
    loop_ = &loop;
    processDescriptor_ = static_cast<int>(syscall(SYS_pidfd_open, process_, 0));
    if (processDescriptor_ >= 0) loop.watchInput(processDescriptor_, [this] { takeAnswer(); });
    return true;
}

void Clipboard::finish() {
    if (process_ == 0) return;
    pollfd ended = {processDescriptor_, POLLIN, 0};
    if (processDescriptor_ < 0 || poll(&ended, 1, patienceInMilliseconds) != 1) kill(process_, SIGKILL);
    takeAnswer();
}

void Clipboard::takeAnswer() {
    int status = 0;
    waitpid(std::exchange(process_, 0), &status, 0);
    note_.text = status == 0 ? reachedTmux : reachedNothing;
    if (processDescriptor_ < 0) return;
    loop_->unwatchInput(processDescriptor_);
    close(std::exchange(processDescriptor_, -1));
}

}  // namespace tobrel::terminal
