#pragma once

#include <string>

#include "frontends/sheet/rows.h"

namespace tobrel::terminal {

using sheet::Rows;

// The keys that do something now, in a line that fits.
std::string hintFor(const Rows& rows, const NSView* focus, int columns);

}  // namespace tobrel::terminal
