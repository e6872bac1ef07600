#include "host/run.h"

#include <exception>

#include "host/compose.h"
#include "host/items_from.h"
#include "host/request.h"
#include "platform/end_signals.h"
#include "platform/front_end.h"

namespace tobrel::host {

namespace {

Delivery deliver(const Options& options, Selection selection) {
    Delivery delivery{options.actionIdentifier, std::move(selection.items), options.domain, {}};
    if (!delivery.domainIdentifier) delivery.domainIdentifier = std::move(selection.domainIdentifier);
    if (selection.unmapped)
        delivery.error = NSError{NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem, *selection.unmapped};
    return delivery;
}

ExitStatus runWithin(const Options& options, const Factories& factories) {
    auto words = allItems(options);
    if (auto* error = std::get_if<UsageError>(&words)) {
        say(error->sentence);
        return wrongUsage;
    }
    auto composed = compose(options, std::get<std::vector<std::string>>(std::move(words)), factories);
    if (auto* obstacle = std::get_if<std::string>(&composed)) {
        say(*obstacle);
        return frontEndCannotRun;
    }
    auto& composition = *std::get<std::unique_ptr<Composition>>(composed);

    Delivery delivery = deliver(options, composition.takeSelection());
    auto error = runRequest(delivery, composition);
    composition.finishSignals();
    auto shortfall = composition.frontEnd().shortfall();
    if (shortfall) say(*shortfall);
    if (!error) return shortfall ? notDone : completed;
    say(error->domain + " " + std::to_string(error->code) + ": " + error->localizedDescription());
    return delivery.error ? itemNotMapped : cancelled;
}

}  // namespace

ExitStatus run(const Options& options, const Factories& factories) {
    try {
        return runWithin(options, factories);
    } catch (const std::exception& exception) {
        say(describe(exception));
        return cancelled;
    }
}

}  // namespace tobrel::host
