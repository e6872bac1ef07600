#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "devserver/grants.h"
#include "devserver/storage.h"

namespace tobrel::devserver {

constexpr const char* sharedFolderName = "Shared with me";

// A file or folder as one user sees it.
struct Item {
    // In the user's own view, for example "Shared with me/Reports/q1.pdf"; empty for the top of the storage.
    std::string path;
    bool isFolder = true;
    std::uint64_t size = 0;
    // Absent for "Shared with me" itself, which lies nowhere.
    std::optional<Place> place;
    // The grant through which it is seen, when it is somebody else's.
    std::optional<Grant> through;
};

// Short, stable for a user's path, and free of characters that need escaping.
std::string identifierOf(const std::string& user, const std::string& path);

// What the path means to the user, whether or not something is there. Nothing for what nobody shares with the user.
std::optional<Item> locate(const std::string& user, const std::string& path, const std::vector<Grant>& received);

// What each user sees: the own storage, and under "Shared with me" the folders that others share. One thread at a time.
class Tree {
public:
    Tree(const Storage& storage, Grants& grants) : storage_(storage), grants_(grants) {}

    std::optional<Item> withIdentifier(const std::string& user, const std::string& identifier);
    std::optional<Item> at(const std::string& user, const std::string& path);
    std::vector<Item> list(const std::string& user, const Item& folder);
    // Everything the user sees but the top itself, each folder before its content.
    std::vector<Item> all(const std::string& user);

    // The user's identifiers have changed.
    void forget(const std::string& user) { indexes_.erase(user); }

private:
    struct Index {
        std::unordered_map<std::string, std::string> paths;
        std::chrono::steady_clock::time_point madeAt;
    };
    std::optional<std::string> pathOf(const std::string& user, const std::string& identifier);
    void addContent(const std::string& user, const Item& folder, std::vector<Item>& items);

    const Storage& storage_;
    Grants& grants_;
    std::map<std::string, Index> indexes_;
};

}  // namespace tobrel::devserver
