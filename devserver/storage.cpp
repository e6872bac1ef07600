#include "devserver/storage.h"

#include <algorithm>
#include <boost/json.hpp>
#include <tuple>

namespace tobrel::devserver {

namespace {

bool isUtf8(const std::string& name) {
    boost::system::error_code error;
    boost::json::parse(boost::json::serialize(boost::json::string(name)), error);
    return !error;
}

std::optional<Entry> entryOf(const std::filesystem::directory_entry& file) {
    std::error_code error;
    auto status = file.symlink_status(error);
    std::string name = file.path().filename();
    if (error || !isUtf8(name)) return std::nullopt;
    if (is_directory(status)) return Entry{name, true, 0};
    if (!is_regular_file(status)) return std::nullopt;
    auto size = file.file_size(error);
    return Entry{name, false, error ? 0 : size};
}

}  // namespace

std::vector<std::string> piecesOf(std::string_view path) {
    std::vector<std::string> pieces;
    while (!path.empty()) {
        std::size_t end = std::min(path.find('/'), path.size());
        if (end > 0) pieces.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return pieces;
}

std::string joined(const std::vector<std::string>& pieces) {
    std::string path;
    for (const auto& piece : pieces) path += (path.empty() ? "" : "/") + piece;
    return path;
}

std::string lastPieceOf(std::string_view path) {
    auto pieces = piecesOf(path);
    return pieces.empty() ? "" : pieces.back();
}

bool liesIn(const std::string& folder, const std::string& path) {
    return path == folder || path.starts_with(folder + "/");
}

std::optional<Entry> Storage::at(const Place& place) const {
    if (place.path.find('\0') != std::string::npos) return std::nullopt;
    std::error_code error;
    std::filesystem::path path = root_ / place.owner;
    for (const auto& piece : piecesOf(place.path)) {
        if (piece == "." || piece == "..") return std::nullopt;
        // A link may lead out of the storage.
        path /= piece;
        if (is_symlink(symlink_status(path, error))) return std::nullopt;
    }
    std::filesystem::directory_entry file(path, error);
    return error ? std::nullopt : entryOf(file);
}

std::vector<Entry> Storage::list(const Place& folder) const {
    std::vector<Entry> entries;
    std::error_code error;
    if (!at(folder)) return entries;
    for (const auto& file : std::filesystem::directory_iterator(root_ / folder.owner / folder.path, error))
        if (auto entry = entryOf(file)) entries.push_back(*entry);
    std::ranges::sort(entries, {}, [](const Entry& entry) { return std::tuple(!entry.isFolder, entry.name); });
    return entries;
}

}  // namespace tobrel::devserver
