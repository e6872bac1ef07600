#include "frontends/terminal/mode.h"

#include <algorithm>
#include <cstdlib>

#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/label_lines.h"
#include "frontends/terminal/raw_terminal.h"
#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel {

TerminalEnvironment TerminalEnvironment::ofProcess() {
    auto value = [](const char* name) {
        const char* text = std::getenv(name);
        return std::string(text ? text : "");
    };
    TerminalEnvironment environment;
    environment.term = value("TERM");
    environment.noColor = !value("NO_COLOR").empty();
    environment.insideTmux = !value("TMUX").empty();
    return environment;
}

namespace terminal {

namespace {

constexpr const char* noBrowser = "No browser can be started from here. Please open this address:";

// A form that was closed has no result; a list is one.
bool isForm(const sheet::Rows& rows) {
    auto controls = sheet::controlsOf(rows);
    return std::any_of(controls.begin(), controls.end(), [](auto& control) { return !control.button; });
}

}  // namespace

Ending endingOf(const Terminal& terminal, const sheet::Rows& rows, int columns, const std::string& unanswered,
                const std::optional<std::string>& unopened) {
    if (!unanswered.empty()) return {fitted(unanswered, columns, 0), {}, true};
    bool goesElsewhere = terminal.result != terminal.output;
    Ending ending;
    if (unopened) {
        ending = {{noBrowser, harmless(*unopened)}, {harmless(*unopened)}, true};
    } else if (goesElsewhere) {
        if (!isForm(rows)) ending.result = messageLines(rows, unlimitedColumns, {});
    } else {
        ending.lines = messageLines(rows, columns, terminal.clipboard.note());
    }
    if (!goesElsewhere) ending.result.clear();
    return ending;
}

void writeResult(const Terminal& terminal, const Ending& ending) {
    std::string bytes;
    for (auto& line : ending.result) bytes += line + "\n";
    showOn(terminal.result, bytes);
}

}  // namespace terminal

}  // namespace tobrel
