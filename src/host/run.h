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

// The parts that only the commands that ask the server need. Loading their libraries takes longer than all of `keep`,
// so they stand in a program of their own.
class OnlineParts {
public:
    virtual ~OnlineParts() = default;
    virtual URLSession& urlSession() = 0;
    virtual Keychain& keychain() = 0;
    virtual TextServices& text() = 0;
    virtual NSWorkspace& browser() = 0;
    // Ends all work of urlSession(), which answers no more.
    virtual void endRequests() = 0;
};

using MakeOnlineParts = std::unique_ptr<OnlineParts> (*)(const Options& options, UserDatabase& users);

// Makes the process fit for its work: signals, standard descriptors that are really open.
void prepareProcess();

// Reads the command line; where it asks for information or is wrong, says so and ends the process.
Options readCommandLine(int count, char* const words[]);

// Whether the command may ask the server, and so needs the online parts.
bool asksServer(const Options& options);

// Prints one line on standard error.
void say(const std::string& sentence);

// Runs one request to its end. Without makeOnlineParts the command must be one that asks no server.
ExitStatus run(const Options& options, MakeOnlineParts makeOnlineParts);

}  // namespace tobrel::host
