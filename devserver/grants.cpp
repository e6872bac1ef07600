#include "devserver/grants.h"

#include <algorithm>

namespace tobrel::devserver {

std::string freeName(const std::string& wanted, const std::vector<Grant>& received) {
    std::string name = wanted;
    for (int number = 2; std::ranges::count(received, name, &Grant::name); ++number)
        name = wanted + " " + std::to_string(number);
    return name;
}

Grant Grants::give(const Place& folder, const std::string& email, const std::string& role) {
    database_.run(
        "INSERT INTO grants (owner, path, email, role, name) VALUES (?, ?, ?, ?, ?)"
        " ON CONFLICT (owner, path, email) DO UPDATE SET role = excluded.role",
        {folder.owner, folder.path, email, role, freeName(lastPieceOf(folder.path), receivedBy(email))});
    return where("owner = ? AND path = ? AND email = ?", {folder.owner, folder.path, email}).front();
}

void Grants::revoke(const std::string& id) {
    database_.run("DELETE FROM grants WHERE CAST(id AS TEXT) = ?", {id});
}

std::optional<Grant> Grants::withId(const std::string& id) {
    auto found = where("CAST(id AS TEXT) = ?", {id});
    return found.empty() ? std::nullopt : std::optional(found.front());
}

std::vector<Grant> Grants::givenOn(const Place& folder) {
    return where("owner = ? AND path = ?", {folder.owner, folder.path});
}

std::vector<Grant> Grants::receivedBy(const std::string& email) {
    return where("email = ?", {email});
}

std::vector<Grant> Grants::where(const std::string& condition, const std::vector<Value>& arguments) {
    std::string query = "SELECT CAST(id AS TEXT), owner, path, email, role, name FROM grants WHERE " + condition +
                        " ORDER BY grants.id";
    std::vector<Grant> grants;
    for (const Row& row : database_.run(query.c_str(), arguments)) {
        auto text = [&](int column) { return std::get<std::string>(row[column]); };
        grants.push_back({text(0), {text(1), text(2)}, text(3), text(4), text(5)});
    }
    return grants;
}

}  // namespace tobrel::devserver
