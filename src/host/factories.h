#pragma once

#include <memory>

namespace tobrel {
class FrontEnd;
class MainLoop;
class NSWorkspace;
class OnlineParts;
class UserDatabase;
}  // namespace tobrel

namespace tobrel::host {

struct Options;

// The parts in which the programs behind tobrel-action differ.
struct Factories {
    std::unique_ptr<MainLoop> (*loop)();
    std::unique_ptr<NSWorkspace> (*browser)();
    // The browser outlives the front end.
    std::unique_ptr<FrontEnd> (*frontEnd)(const Options& options, NSWorkspace& browser);
    // Null in a program that asks no server.
    std::unique_ptr<OnlineParts> (*onlineParts)(const Options& options, UserDatabase& users);
};

}  // namespace tobrel::host
