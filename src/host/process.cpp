#include "host/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <new>
#include <system_error>

#include "platform/file_descriptor.h"
#include "text/harmless_text.h"

namespace tobrel::host {

namespace {

constexpr const char* noMemory = "there is not enough memory; close other programs or raise the limit (ulimit -v)";

// For exceptions that no caller can catch: those of other threads.
void endAtOnce() {
    try {
        if (std::current_exception()) throw;
    } catch (const std::bad_alloc&) {
        for (const char* part : {"tobrel-action: ", noMemory, "\n"}) writeWhole(STDERR_FILENO, part);
    } catch (const std::exception& exception) {
        say(describe(exception));
    } catch (...) {
        std::abort();
    }
    struct sigaction action;
    bool leavesTerminalBehind = sigaction(SIGABRT, nullptr, &action) == 0 && action.sa_handler != SIG_DFL;
    if (!leavesTerminalBehind) _exit(cancelled);
    std::abort();
}

}  // namespace

std::string describe(const std::exception& exception) {
    if (dynamic_cast<const std::bad_alloc*>(&exception)) return noMemory;
    auto* refusal = dynamic_cast<const std::system_error*>(&exception);
    if (!refusal) return std::string("this cannot go on: ") + exception.what();
    if (refusal->code() == std::errc::too_many_files_open)
        return "too many files are open; close some, or raise the limit (ulimit -n)";
    return "the system refuses what this needs: " + refusal->code().message();
}

void prepareProcess() {
    // A file opened later must not become standard output where the caller closed that.
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1) open("/dev/null", descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY);
    // A reader that has gone and a file that may not grow are failed writes, not ends.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
    std::set_terminate(endAtOnce);
}

Options readCommandLine(int count, char* const words[]) {
    auto parsed = parseOptions(count, words);
    if (auto* information = std::get_if<Information>(&parsed)) {
        writeWhole(STDOUT_FILENO, information->text);
        std::exit(completed);
    }
    if (auto* error = std::get_if<UsageError>(&parsed)) {
        say(error->sentence);
        std::exit(wrongUsage);
    }
    return std::get<Options>(std::move(parsed));
}

void say(const std::string& sentence) {
    writeWhole(STDERR_FILENO, "tobrel-action: " + harmless(sentence) + "\n");
}

}  // namespace tobrel::host
