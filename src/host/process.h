#pragma once

#include <exception>
#include <string>

#include "host/options.h"

namespace tobrel::host {

enum ExitStatus {
    completed = 0,
    cancelled = 1,
    wrongUsage = 2,
    itemNotMapped = 3,
    frontEndCannotRun = 4,
    notDone = 5,
};

// Makes the process fit for its work: signals, standard descriptors that are really open, and one line where a thread
// cannot go on.
void prepareProcess();

// Reads the command line; where it asks for information or is wrong, says so and ends the process.
Options readCommandLine(int count, char* const words[]);

// Why the work could not go on, in a sentence, for what the libraries throw where the system refuses something.
std::string describe(const std::exception& exception);

// Prints one line on standard error.
void say(const std::string& sentence);

}  // namespace tobrel::host
