#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/options.h"
#include "platform/file_provider.h"

namespace tobrel {
class EndSignals;
class FrontEnd;
class MainLoop;
class WorkCounter;
}  // namespace tobrel

namespace tobrel::host {

struct Factories;

// Where the command line's words lead.
struct Selection {
    std::vector<NSFileProviderItemIdentifier> items;
    // Of the first word that is a path.
    std::optional<std::string> domainIdentifier;
    // Why the first word that names no item does not, in a sentence.
    std::optional<std::string> unmapped;
};

// One process's real parts, wired, and installed as the platform for its life.
class Composition {
public:
    virtual ~Composition() = default;
    virtual MainLoop& loop() = 0;
    virtual FrontEnd& frontEnd() = 0;
    // Null where each of them simply ends the process.
    virtual std::unique_ptr<EndSignals> takeEndSignals() = 0;
    // What the request's parts have not answered yet.
    virtual const WorkCounter& work() = 0;
    // Once.
    virtual Selection takeSelection() = 0;
    // Returns when a working-set signal that has been asked for is done.
    virtual void finishSignals() = 0;
};

// The composition, or why the front end cannot run here, in a sentence; that is asked before all else. `words` are the
// command line's items.
std::variant<std::unique_ptr<Composition>, std::string> compose(const Options& options, std::vector<std::string> words,
                                                                const Factories& factories);

}  // namespace tobrel::host
