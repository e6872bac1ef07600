#pragma once

#include <chrono>

#include "platform/keychain.h"

namespace tobrel {

// One place that keeps items, as the keychain of this platform needs it.
class KeychainStorage : public Keychain {
public:
    // Adds the item and removes all that the query matches; where it fails, all is as it was.
    virtual OSStatus replace(const SecAttributes& query, const SecAttributes& item) = 0;
    // Does beforehand what the first question would wait for, but asks the user nothing.
    virtual void prepare() {}
};

struct SecretServiceBounds {
    // One call, but for the user's answer.
    std::chrono::milliseconds call{3000};
    // How long the answer to the one question to unlock is waited for; it stays on the screen afterwards.
    std::chrono::milliseconds unlock = std::chrono::hours(24);
    // How long a service that is missing or does not answer is not asked again.
    std::chrono::milliseconds retreat{10000};
};

}  // namespace tobrel
