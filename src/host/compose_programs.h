#pragma once

#include "host/program.h"

namespace tobrel::host {

// Has the installation's other program carry the command out; returns the exit status. Where it cannot be started, says
// so.
int continueIn(Program program, char* words[]);

}  // namespace tobrel::host
