#include "frontends/terminal/raw_terminal.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/ioctl.h>
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

void restoreAndDie(int signal) {
    [[maybe_unused]] ssize_t written = write(shared.output, leaveSequence.data(), leaveSequence.size());
    written = write(shared.output, "\r\n", 2);
    tcsetattr(shared.input, TCSANOW, &shared.original);
    // The handler has reset itself.
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
    for (const FileDescriptor* end : {&events_.reading, &events_.writing}) fcntl(end->number(), F_SETFL, O_NONBLOCK);
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
}

void RawTerminal::leave() {
    showOn(output_, leaveSequence);
    tcsetattr(input_, TCSADRAIN, &shared.original);
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
