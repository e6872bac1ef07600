#include "host/run.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "host/compose.h"
#include "host/end_signals.h"
#include "host/program.h"
#include "host/request.h"
#include "platform/front_end.h"
#include "text/harmless_text.h"

namespace tobrel::host {

namespace {

std::variant<std::string, std::error_code> readAll(const std::string& path) {
    int descriptor = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) return std::error_code(errno, std::generic_category());
    std::string content;
    char buffer[64 * 1024];
    ssize_t count;
    while ((count = read(descriptor, buffer, sizeof buffer)) > 0)
        content.append(buffer, static_cast<std::size_t>(count));
    std::error_code error(count < 0 ? errno : 0, std::generic_category());
    close(descriptor);
    if (error) return error;
    return content;
}

Delivery deliver(const Options& options, Selection selection) {
    Delivery delivery{options.actionIdentifier, std::move(selection.items), options.domain, {}};
    if (!delivery.domainIdentifier) delivery.domainIdentifier = selection.domainIdentifier;
    if (selection.unmapped)
        delivery.error = NSError{NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem, *selection.unmapped};
    return delivery;
}

}  // namespace

ExitStatus run(const Options& options, const Factories& factories) {
    std::vector<std::string> words = options.items;
    if (options.itemsFrom) {
        auto content = readAll(*options.itemsFrom);
        if (auto* error = std::get_if<std::error_code>(&content)) {
            say("--items-from " + inQuotes(*options.itemsFrom) + " cannot be read: " + error->message());
            return wrongUsage;
        }
        for (auto& item : itemsOf(std::get<std::string>(content), options.itemsEndWithNul))
            words.push_back(std::move(item));
    }

    if (asksServer(options)) blockEndSignals();
    auto composed = compose(options, words, factories);
    if (auto* obstacle = std::get_if<std::string>(&composed)) {
        say(*obstacle);
        return frontEndCannotRun;
    }
    auto& composition = *std::get<std::unique_ptr<Composition>>(composed);

    Delivery delivery = deliver(options, composition.selection());
    auto error = runRequest(delivery, composition.frontEnd(), composition.loop(), composition.work());
    // The front end may still wait for a reader that never comes.
    unblockEndSignals();
    composition.finishSignals();
    auto shortfall = composition.frontEnd().shortfall();
    if (shortfall) say(*shortfall);
    if (!error) return shortfall ? notDone : completed;
    say(error->domain + " " + std::to_string(error->code) + ": " + error->localizedDescription());
    return delivery.error ? itemNotMapped : cancelled;
}

}  // namespace tobrel::host
