#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel::devserver {

// Where something really lies: in whose storage, and under which path in it. The empty path is the whole storage.
struct Place {
    std::string owner;
    std::string path;
    bool operator==(const Place&) const = default;
};

struct Entry {
    std::string name;
    bool isFolder = false;
    std::uint64_t size = 0;
};

// The pieces of a path that are not empty.
std::vector<std::string> piecesOf(std::string_view path);
std::string joined(const std::vector<std::string>& pieces);
std::string lastPieceOf(std::string_view path);
bool liesIn(const std::string& folder, const std::string& path);

// The files on disk: one folder for each user, named by e-mail address. Only files and folders that are really there
// count, with UTF-8 names; links are not followed.
class Storage {
public:
    explicit Storage(std::filesystem::path root) : root_(std::move(root)) {}

    std::optional<Entry> at(const Place& place) const;
    // Folders first, then by name.
    std::vector<Entry> list(const Place& folder) const;

private:
    std::filesystem::path root_;
};

}  // namespace tobrel::devserver
