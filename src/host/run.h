#pragma once

#include "host/options.h"
#include "host/process.h"

namespace tobrel::host {

struct Factories;

// Runs one request to its end, with the parts that the factories make.
ExitStatus run(const Options& options, const Factories& factories);

}  // namespace tobrel::host
