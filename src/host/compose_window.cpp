#include "host/compose_window.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

#include "host/process.h"
#include "platform/file_descriptor.h"
#include "platform/linux/end_signals.h"

extern char** environ;

namespace tobrel::host {

namespace {

constexpr const char* reportVariable = "TOBREL_REPORT_DESCRIPTOR";

std::optional<pid_t> start(const std::string& path, char* words[], int report) {
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    // Duplicated to its own number, which clears its close-on-exec flag.
    posix_spawn_file_actions_adddup2(&actions, report, report);

    setenv(reportVariable, std::to_string(report).c_str(), 1);
    pid_t process = 0;
    int error = posix_spawn(&process, path.c_str(), &actions, &attributes, words, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) return std::nullopt;
    return process;
}

void handOn(int signals, pid_t process) {
    signalfd_siginfo taken;
    if (read(signals, &taken, sizeof taken) == sizeof taken) kill(process, static_cast<int>(taken.ssi_signo));
}

int waitForEnd(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR) return frontEndCannotRun;
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    say(std::string("the window's program has ended unexpectedly: ") + strsignal(WTERMSIG(status)));
    return 128 + WTERMSIG(status);
}

int waitForStatus(pid_t process, int report, int signals) {
    pollfd awaited[] = {{report, POLLIN, 0}, {signals, POLLIN, 0}};
    while (true) {
        if (poll(awaited, 2, -1) < 0) continue;
        if (awaited[1].revents) handOn(signals, process);
        if (!awaited[0].revents) continue;
        unsigned char status;
        return read(report, &status, 1) == 1 ? status : waitForEnd(process);
    }
}

// Every open descriptor but the standard ones.
std::vector<int> openDescriptors() {
    std::vector<int> descriptors;
    std::error_code error;
    for (auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        std::string name = entry.path().filename();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        if (descriptor > STDERR_FILENO) descriptors.push_back(descriptor);
    }
    return descriptors;
}

}  // namespace

std::optional<int> runWindowProgram(const std::string& path, char* words[]) {
    blockEndSignals();
    auto pipe = openPipe();
    if (!pipe) return std::nullopt;
    auto process = start(path, words, pipe->writing.number());
    if (!process) return std::nullopt;
    pipe->writing = FileDescriptor();
    sigset_t signals = endSignals();
    FileDescriptor descriptor(signalfd(-1, &signals, SFD_CLOEXEC));
    return waitForStatus(*process, pipe->reading.number(), descriptor.number());
}

WindowProcess::WindowProcess() {
    for (int descriptor : openDescriptors())
        if (fcntl(descriptor, F_GETFD) != -1) inherited_.push_back(descriptor);
    const char* value = std::getenv(reportVariable);
    if (!value) return;
    std::from_chars(value, value + std::strlen(value), report_);
    unsetenv(reportVariable);
    fcntl(report_, F_SETFD, FD_CLOEXEC);
}

void WindowProcess::leaveCaller(int exitStatus) {
    // Does nothing where tobrel-action started this program, in a session of its own.
    setsid();
    [[maybe_unused]] int changed = chdir("/");
    if (int nothing = open("/dev/null", O_RDWR | O_CLOEXEC); nothing >= 0) {
        for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) dup2(nothing, descriptor);
        close(nothing);
    }
    for (int descriptor : inherited_)
        if (descriptor != report_) close(descriptor);
    auto status = static_cast<unsigned char>(exitStatus);
    if (report_ < 0) return;
    [[maybe_unused]] ssize_t written = write(report_, &status, 1);
    close(report_);
}

}  // namespace tobrel::host
