#include "platform/linux/end_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/main_loop.h"

namespace tobrel {

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&signals, signal);
    return signals;
}

void blockEndSignals() {
    sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

namespace {

void unblockEndSignals() {
    sigset_t signals = endSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

LinuxEndSignals::LinuxEndSignals(MainLoop& loop) noexcept : loop_(loop) {
    blockEndSignals();
}

LinuxEndSignals::~LinuxEndSignals() {
    setHandler(nullptr);
    unblockEndSignals();
}

void LinuxEndSignals::setHandler(std::function<void()> handler) {
    if (descriptor_) loop_.unwatchInput(descriptor_.number());
    descriptor_ = FileDescriptor();
    if (!handler) return;
    sigset_t signals = endSignals();
    descriptor_ = FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor_) return unblockEndSignals();
    loop_.watchInput(descriptor_.number(), [descriptor = descriptor_.number(), handler = std::move(handler)] {
        signalfd_siginfo taken;
        if (read(descriptor, &taken, sizeof taken) == sizeof taken) handler();
    });
}

}  // namespace tobrel
