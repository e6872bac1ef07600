#include "host/end_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include "platform/main_loop.h"

namespace tobrel::host {

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGHUP);
    return signals;
}

void blockEndSignals() {
    sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void unblockEndSignals() {
    sigset_t signals = endSignals();
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

EndSignals::EndSignals(MainLoop& loop, std::function<void()> handler)
    : loop_(loop), descriptor_([] {
          sigset_t signals = endSignals();
          return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
      }()) {
    loop_.watchInput(descriptor_, [descriptor = descriptor_, handler = std::move(handler)] {
        signalfd_siginfo taken;
        if (read(descriptor, &taken, sizeof taken) == sizeof taken) handler();
    });
}

EndSignals::~EndSignals() {
    loop_.unwatchInput(descriptor_);
    close(descriptor_);
}

}  // namespace tobrel::host
