#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devserver/database.h"
#include "devserver/storage.h"

namespace tobrel::devserver {

// One user's access to one folder of another user.
struct Grant {
    std::string id;
    Place folder;
    std::string email;
    // "read" or "write".
    std::string role;
    // The folder's name among what others share with the receiver, unlike any other there.
    std::string name;
};

// The first of these names that is not taken: Reports, Reports 2, Reports 3.
std::string freeName(const std::string& wanted, const std::vector<Grant>& received);

class Grants {
public:
    explicit Grants(Database& database) : database_(database) {}

    // A second grant of the same folder to the same user changes the first one's role.
    Grant give(const Place& folder, const std::string& email, const std::string& role);
    void revoke(const std::string& id);

    std::optional<Grant> withId(const std::string& id);
    std::vector<Grant> givenOn(const Place& folder);
    std::vector<Grant> receivedBy(const std::string& email);

private:
    std::vector<Grant> where(const std::string& condition, const std::vector<Value>& arguments);
    Database& database_;
};

}  // namespace tobrel::devserver
