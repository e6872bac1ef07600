#pragma once

#include <optional>
#include <string>

#include "frontends/sheet/user.h"

namespace tobrel::terminal {

struct HintInput {
    const sheet::Rows& rows;
    // The focused control and the button that Enter presses, or null.
    const NSView* focus = nullptr;
    const NSButton* entered = nullptr;
    // Of what the user did last.
    sheet::Attempt::Outcome outcome = sheet::Attempt::Outcome::none;
    bool scrolls = false;
    // While the request works.
    std::optional<int> secondsOfWork;
};

// The front end's own line below the sheet: what was refused, how long an answer takes, or else the keys that do
// something now. It fits into the columns.
std::string hintFor(const HintInput& input, int columns);

}  // namespace tobrel::terminal
