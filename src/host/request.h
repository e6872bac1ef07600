#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/file_provider.h"

namespace tobrel::host {

class Composition;

// What the host hands to a controller.
struct Delivery {
    std::string actionIdentifier;
    std::vector<NSFileProviderItemIdentifier> items;
    std::optional<std::string> domainIdentifier;
    // The action cannot be delivered: the controller gets this error in its place.
    std::optional<NSError> error;
};

// Carries one request from its controller's making to its end; returns the error that it was cancelled with, if any.
// The sheet comes on screen only when the request outlives its delivery.
std::optional<NSError> runRequest(const Delivery& delivery, Composition& composition);

}  // namespace tobrel::host
