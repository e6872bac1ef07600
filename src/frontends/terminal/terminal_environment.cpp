#include "frontends/terminal/terminal_environment.h"

#include <cstdlib>

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

}  // namespace tobrel
