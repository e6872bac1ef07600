#include "devserver/accounts.h"

#include <strings.h>

#include <algorithm>

namespace tobrel::devserver {

const Account* Accounts::withKey(const std::string& key) const {
    auto found = std::ranges::find(accounts_, key, &Account::key);
    return found == accounts_.end() ? nullptr : &*found;
}

const Account* Accounts::withEmail(const std::string& email) const {
    auto found = std::ranges::find_if(
        accounts_, [&](const Account& account) { return strcasecmp(account.email.c_str(), email.c_str()) == 0; });
    return found == accounts_.end() ? nullptr : &*found;
}

}  // namespace tobrel::devserver
