#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/file_provider.h"

namespace tobrel {
class FrontEnd;
class MainLoop;
class WorkCounter;
}  // namespace tobrel

namespace tobrel::host {

// What the host hands to a controller.
struct Delivery {
    std::string actionIdentifier;
    std::vector<NSFileProviderItemIdentifier> items;
    std::optional<std::string> domainIdentifier;
    // The action cannot be delivered: the controller gets this error in its place.
    std::optional<NSError> error;
};

// Carries one request from its controller's making to its end; returns the error that it was cancelled with, if any.
// The platform has been installed; its parts count what they have not answered in `work`. The sheet comes on screen
// only when the request outlives its delivery.
std::optional<NSError> runRequest(const Delivery& delivery, FrontEnd& frontEnd, MainLoop& loop,
                                  const WorkCounter& work);

}  // namespace tobrel::host
