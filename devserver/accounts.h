#pragma once

#include <string>
#include <vector>

namespace tobrel::devserver {

struct Account {
    std::string email;
    std::string key;
};

// The people who have an account. E-mail addresses are compared without regard to case.
class Accounts {
public:
    explicit Accounts(std::vector<Account> accounts) : accounts_(std::move(accounts)) {}

    const std::vector<Account>& all() const { return accounts_; }
    const Account* withKey(const std::string& key) const;
    const Account* withEmail(const std::string& email) const;

private:
    std::vector<Account> accounts_;
};

}  // namespace tobrel::devserver
