#include "host/program.h"

#include "dispatch/action_id.h"

namespace tobrel::host {

bool asksServer(const Options& options) {
    for (const char* identifier : {ActionID::share, ActionID::shareWith, ActionID::manage, ActionID::online})
        if (options.actionIdentifier == identifier) return true;
    return false;
}

bool needsFrontEnd(const Options& options) {
    return options.actionIdentifier != ActionID::keep && options.actionIdentifier != ActionID::unkeep;
}

Program programFor(const Options& options) {
    if (needsFrontEnd(options) && options.frontEnd == FrontEndKind::gtk) return Program::gtk;
    return asksServer(options) ? Program::online : Program::itself;
}

}  // namespace tobrel::host
