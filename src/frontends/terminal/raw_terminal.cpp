#include "frontends/terminal/raw_terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

namespace tobrel::terminal {

namespace {

constexpr std::string_view enterSequence = "\x1B[?2004h";
constexpr std::string_view leaveSequence = "\x1B[?2004l\x1B[?25h";

constexpr std::array eventSignals = {SIGWINCH, SIGTSTP, SIGCONT};
constexpr std::array fatalSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// What the signal handlers work on.
struct Shared {
    int input = -1;
    int output = -1;
    termios original;
    int events = -1;
    int heldErrors = -1;
    // Where standard error leads; -1 while nothing is held back.
    int errors = -1;
    std::array<struct sigaction, eventSignals.size()> formerEventActions;
    // Only those that nobody else handles are handled here.
    std::array<bool, fatalSignals.size()> handlesFatal;
};
Shared shared;

void noteEvent(int signal) {
    int error = errno;
    auto byte = static_cast<char>(signal);
    [[maybe_unused]] ssize_t written = write(shared.events, &byte, 1);
    errno = error;
}

// Also from a signal's handler.
void releaseErrors() {
    if (shared.errors < 0) return;
    dup2(std::exchange(shared.errors, -1), STDERR_FILENO);
    char bytes[4096];
    for (ssize_t count; (count = read(shared.heldErrors, bytes, sizeof bytes)) > 0;)
        [[maybe_unused]] ssize_t written = write(STDERR_FILENO, bytes, static_cast<std::size_t>(count));
}

void restoreAndDie(int signal) {
    [[maybe_unused]] ssize_t written = write(shared.output, leaveSequence.data(), leaveSequence.size());
    written = write(shared.output, "\r\n", 2);
    tcsetattr(shared.input, TCSANOW, &shared.original);
    releaseErrors();
    // The signal has its default action again (SA_RESETHAND).
    raise(signal);
}

struct sigaction actionFor(void (*handler)(int), int flags) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigemptyset(&action.sa_mask);
    return action;
}

void handleFatalSignals() {
    auto action = actionFor(restoreAndDie, static_cast<int>(SA_RESETHAND | SA_NODEFER));
    for (std::size_t i = 0; i < fatalSignals.size(); ++i) {
        struct sigaction former;
        sigaction(fatalSignals[i], nullptr, &former);
        shared.handlesFatal[i] = !(former.sa_flags & SA_SIGINFO) && former.sa_handler == SIG_DFL;
        if (shared.handlesFatal[i]) sigaction(fatalSignals[i], &action, nullptr);
    }
}

bool isSameTerminal(int one, int other) {
    struct stat first, second;
    if (!isatty(one) || !isatty(other) || fstat(one, &first) != 0 || fstat(other, &second) != 0) return false;
    // "/dev/tty" is a device of its own, so the session that a terminal controls is compared as well.
    return first.st_rdev == second.st_rdev || (tcgetsid(one) != -1 && tcgetsid(one) == tcgetsid(other));
}

void setNonBlocking(const Pipe& pipe) {
    for (const FileDescriptor* end : {&pipe.reading, &pipe.writing}) fcntl(end->number(), F_SETFL, O_NONBLOCK);
}

}  // namespace

TerminalSize sizeOfTerminal(int descriptor) {
    winsize window = {};
    if (ioctl(descriptor, TIOCGWINSZ, &window) != 0 || window.ws_col == 0 || window.ws_row == 0) return {};
    return {window.ws_col, window.ws_row};
}

bool showOn(int terminal, std::string_view bytes) {
    return writeWhole(terminal, bytes, std::chrono::seconds(5));
}

RawTerminal::RawTerminal(int input, int output) : input_(input), output_(output) {
    shared.input = input;
    shared.output = output;
    tcgetattr(input, &shared.original);
    raw_ = shared.original;
    raw_.c_iflag &= ~static_cast<tcflag_t>(BRKINT | ICRNL | INLCR | IGNCR | ISTRIP | IXON);
    raw_.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON | IEXTEN | ISIG);
    raw_.c_cc[VMIN] = 1;
    raw_.c_cc[VTIME] = 0;

    if (auto pipe = openPipe()) events_ = std::move(*pipe);
    // A handler never waits, and reading ends where nothing is left.
    setNonBlocking(events_);
    shared.events = events_.writing.number();
    auto action = actionFor(noteEvent, SA_RESTART);
    for (std::size_t i = 0; i < eventSignals.size(); ++i)
        sigaction(eventSignals[i], &action, &shared.formerEventActions[i]);
    handleFatalSignals();
    enter();
}

RawTerminal::~RawTerminal() {
    leave();
    for (std::size_t i = 0; i < fatalSignals.size(); ++i)
        if (shared.handlesFatal[i]) signal(fatalSignals[i], SIG_DFL);
    for (std::size_t i = 0; i < eventSignals.size(); ++i)
        sigaction(eventSignals[i], &shared.formerEventActions[i], nullptr);
    shared.events = -1;
}

int RawTerminal::eventDescriptor() const {
    return events_.reading.number();
}

RawTerminal::Events RawTerminal::takeEvents() {
    Events events;
    char signal;
    while (read(events_.reading.number(), &signal, 1) == 1) {
        events.resized |= signal == SIGWINCH;
        events.stopping |= signal == SIGTSTP;
        events.continued |= signal == SIGCONT;
    }
    return events;
}

void RawTerminal::enter() {
    tcsetattr(input_, TCSADRAIN, &raw_);
    showOn(output_, enterSequence);
    holdErrors();
}

void RawTerminal::holdErrors() {
    if (shared.errors >= 0 || !isSameTerminal(STDERR_FILENO, output_)) return;
    auto pipe = openPipe();
    FileDescriptor errors(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!pipe || !errors) return;
    setNonBlocking(*pipe);
    heldErrors_ = std::move(*pipe);
    errors_ = std::move(errors);
    dup2(heldErrors_.writing.number(), STDERR_FILENO);
    shared.heldErrors = heldErrors_.reading.number();
    shared.errors = errors_.number();
}

void RawTerminal::leave() {
    showOn(output_, leaveSequence);
    tcsetattr(input_, TCSADRAIN, &shared.original);
    releaseErrors();
}

void RawTerminal::stopJob() {
    leave();
    struct sigaction handled;
    auto stop = actionFor(SIG_DFL, 0);
    sigaction(SIGTSTP, &stop, &handled);
    // The whole job, as the terminal itself does it: a script that runs this program stops, too.
    kill(0, SIGTSTP);
    sigaction(SIGTSTP, &handled, nullptr);
    enter();
}

}  // namespace tobrel::terminal
