#include "devserver/tree.h"

#include <algorithm>
#include <cstdio>

namespace tobrel::devserver {

namespace {

using namespace std::chrono_literals;

// An unknown identifier may be that of a file that has just come; it is looked for on disk this often at most.
constexpr auto indexLifetime = 1s;

bool isShared(const std::string& path) {
    return liesIn(sharedFolderName, path);
}

}  // namespace

std::string identifierOf(const std::string& user, const std::string& path) {
    if (path.empty()) return "root";
    if (path == sharedFolderName) return "shared";
    // FNV-1a, because the identifier must be the same in every run.
    std::uint64_t hash = 0xcbf29ce484222325;
    std::string named = user;
    named += '\0';
    named += path;
    for (unsigned char byte : named) hash = (hash ^ byte) * 0x100000001b3;
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

std::optional<Item> locate(const std::string& user, const std::string& path, const std::vector<Grant>& received) {
    auto pieces = piecesOf(path);
    Item item{joined(pieces)};
    if (item.path == sharedFolderName) return item;
    if (!isShared(item.path)) {
        item.place = Place{user, item.path};
        return item;
    }
    auto grant = std::ranges::find(received, pieces[1], &Grant::name);
    if (grant == received.end()) return std::nullopt;
    pieces.erase(pieces.begin(), pieces.begin() + 2);
    pieces.insert(pieces.begin(), grant->folder.path);
    item.place = Place{grant->folder.owner, joined(pieces)};
    item.through = *grant;
    return item;
}

std::optional<Item> Tree::withIdentifier(const std::string& user, const std::string& identifier) {
    if (identifier == "root") return at(user, "");
    if (identifier == "shared") return at(user, sharedFolderName);
    auto path = pathOf(user, identifier);
    return path ? at(user, *path) : std::nullopt;
}

std::optional<Item> Tree::at(const std::string& user, const std::string& path) {
    auto item = locate(user, path, isShared(path) ? grants_.receivedBy(user) : std::vector<Grant>{});
    if (!item || !item->place) return item;
    auto entry = storage_.at(*item->place);
    if (!entry) return std::nullopt;
    item->isFolder = entry->isFolder;
    item->size = entry->size;
    return item;
}

std::vector<Item> Tree::list(const std::string& user, const Item& folder) {
    std::vector<std::string> names;
    if (folder.path.empty()) names.emplace_back(sharedFolderName);
    if (folder.place) {
        for (auto& entry : storage_.list(*folder.place))
            if (!folder.path.empty() || entry.name != sharedFolderName) names.push_back(std::move(entry.name));
    } else {
        for (auto& grant : grants_.receivedBy(user)) names.push_back(std::move(grant.name));
    }
    std::vector<Item> items;
    for (const auto& name : names)
        if (auto item = at(user, folder.path.empty() ? name : folder.path + "/" + name)) items.push_back(*item);
    return items;
}

std::vector<Item> Tree::all(const std::string& user) {
    std::vector<Item> items;
    if (auto top = at(user, "")) addContent(user, *top, items);
    return items;
}

void Tree::addContent(const std::string& user, const Item& folder, std::vector<Item>& items) {
    for (const auto& item : list(user, folder)) {
        items.push_back(item);
        if (item.isFolder) addContent(user, item, items);
    }
}

std::optional<std::string> Tree::pathOf(const std::string& user, const std::string& identifier) {
    Index& index = indexes_[user];
    auto found = index.paths.find(identifier);
    auto now = std::chrono::steady_clock::now();
    if (found == index.paths.end() && (index.madeAt == decltype(now){} || now - index.madeAt > indexLifetime)) {
        index = {{}, now};
        for (const auto& item : all(user)) index.paths.emplace(identifierOf(user, item.path), item.path);
        found = index.paths.find(identifier);
    }
    return found == index.paths.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace tobrel::devserver
