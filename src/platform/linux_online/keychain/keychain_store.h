#pragma once

#include "platform/keychain.h"

namespace tobrel {

// One place that keeps items, as the keychain of this platform needs it.
class KeychainStorage : public Keychain {
public:
    // Adds the item and removes all that the query matches; where it fails, all is as it was.
    virtual OSStatus replace(const SecAttributes& query, const SecAttributes& item) = 0;
};

}  // namespace tobrel
