#pragma once

#include <string>

#include "frontends/terminal/sheet_rows.h"

namespace tobrel::terminal {

// The keys that do something now, in a line.
std::string hintFor(const Rows& rows, const NSView* focus);

}  // namespace tobrel::terminal
