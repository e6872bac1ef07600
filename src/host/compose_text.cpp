#include "host/compose_text.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "frontends/batch/batch_front_end.h"
#include "frontends/json/json_front_end.h"
#include "frontends/terminal/terminal_front_end.h"
#include "platform/linux/main_loop_poll.h"

namespace tobrel::host {

namespace {

class NoBrowser : public NSWorkspace {
public:
    bool openURL(const std::string&) override { return false; }
};

// Libraries write debugging output, where the environment asks for it, to standard output, which belongs to the JSON
// lines: theirs goes to standard error.
int outputOfOurOwn() {
    int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own < 0) return STDOUT_FILENO;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return own;
}

}  // namespace

std::unique_ptr<MainLoop> makePollLoop() {
    return std::make_unique<PollMainLoop>();
}

std::unique_ptr<FrontEnd> makeTextFrontEnd(const Options& options, NSWorkspace& browser) {
    if (options.frontEnd == FrontEndKind::batch)
        return std::make_unique<BatchFrontEnd>(
            options.task, options.json ? BatchFrontEnd::Form::json : BatchFrontEnd::Form::plain, STDOUT_FILENO);
    bool inputIsTaken = std::ranges::count(options.itemsFrom, "-") > 0;
    int input = inputIsTaken ? -1 : STDIN_FILENO;
    if (options.frontEnd == FrontEndKind::json) return std::make_unique<JsonFrontEnd>(outputOfOurOwn(), input);
    return std::make_unique<TerminalFrontEnd>(input, STDOUT_FILENO, TerminalEnvironment::ofProcess(), browser);
}

std::unique_ptr<NSWorkspace> makeNoBrowser() {
    return std::make_unique<NoBrowser>();
}

}  // namespace tobrel::host
