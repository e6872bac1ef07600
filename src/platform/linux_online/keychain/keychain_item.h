#pragma once

#include <optional>
#include <string>

#include "platform/keychain.h"

namespace tobrel {

// A generic password as the stores of this platform keep it. No two of one store share service, access group and
// account. All but the data is UTF-8 without NUL.
struct KeychainItem {
    std::string service;
    std::string accessGroup;
    std::string account;
    std::string label;
    std::string data;
};

// Which items a query means; what is absent matches anything.
struct KeychainQuery {
    std::optional<std::string> service;
    std::optional<std::string> accessGroup;
    std::optional<std::string> account;
    bool returnData = false;

    bool matches(const KeychainItem& item) const;
};

// Nothing where the attributes are no item or query of this class, or hold a value of the wrong type (errSecParam).
std::optional<KeychainQuery> readQuery(const SecAttributes& attributes);
std::optional<KeychainItem> readItem(const SecAttributes& attributes);
// The query that matches exactly the items with which this one may not coexist.
KeychainQuery sameItem(const KeychainItem& item);

}  // namespace tobrel
