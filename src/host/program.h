#pragma once

#include "host/options.h"

namespace tobrel::host {

// tobrel-action is several programs behind one command line, because loading the libraries of HTTP, keychain and
// windows takes longer than all of `keep`.
enum class Program { itself, online, gtk };

// The one that carries the command out.
Program programFor(const Options& options);

// Whether the command may ask the server, and so needs the online parts.
bool asksServer(const Options& options);
// The pin commands show nothing that waits for an answer, and run where no front end can.
bool needsFrontEnd(const Options& options);

}  // namespace tobrel::host
