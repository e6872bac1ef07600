#include "host/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "text/harmless_text.h"

namespace tobrel::host {

namespace {

void writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        ssize_t written = write(descriptor, text.data(), text.size());
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace

void prepareProcess() {
    // A file opened later must not become standard output where the caller closed that.
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (fcntl(descriptor, F_GETFD) == -1) open("/dev/null", descriptor == STDIN_FILENO ? O_RDONLY : O_WRONLY);
    // A reader that has gone and a file that may not grow are failed writes, not ends.
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

Options readCommandLine(int count, char* const words[]) {
    auto parsed = parseOptions(count, words);
    if (auto* information = std::get_if<Information>(&parsed)) {
        writeAll(STDOUT_FILENO, information->text);
        std::exit(completed);
    }
    if (auto* error = std::get_if<UsageError>(&parsed)) {
        say(error->sentence);
        std::exit(wrongUsage);
    }
    return std::get<Options>(std::move(parsed));
}

void say(const std::string& sentence) {
    writeAll(STDERR_FILENO, "tobrel-action: " + harmless(sentence) + "\n");
}

}  // namespace tobrel::host
