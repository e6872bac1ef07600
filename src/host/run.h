#pragma once

#include <memory>

#include "host/options.h"

namespace tobrel {
class Keychain;
class NSWorkspace;
class TextServices;
class URLSession;
class UserDatabase;
}  // namespace tobrel

namespace tobrel::host {

enum ExitStatus { completed = 0, cancelled = 1, wrongUsage = 2, itemNotMapped = 3, frontEndCannotRun = 4 };

// The real parts that only the commands that talk to the server need: their libraries cost more to load than all else.
class OnlineParts {
public:
    virtual ~OnlineParts() = default;
    virtual URLSession& urlSession() = 0;
    virtual Keychain& keychain() = 0;
    virtual TextServices& text() = 0;
    virtual NSWorkspace& browser() = 0;
};

using MakeOnlineParts = std::unique_ptr<OnlineParts> (*)(UserDatabase& users, const Options& options);

bool asksServer(const Options& options);

// Runs one request. What it has to say goes to the front end or, in one line, to standard error.
ExitStatus run(const Options& options, MakeOnlineParts makeOnlineParts);

// Reads the command line; prints what it asks for, or what is wrong with it, and ends the process in those cases.
Options readCommandLine(int count, char* const words[]);

}  // namespace tobrel::host
