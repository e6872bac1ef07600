#include "devserver/service.h"

#include <algorithm>
#include <variant>

namespace tobrel::devserver {

namespace {

namespace json = boost::json;

constexpr const char* notThere = "This item is not in your Tobrel any more.";
constexpr const char* onlyFolders = "Only folders can be shared with other Tobrel users.";

std::string inQuotes(const std::string& name) {
    return "“" + name + "”";
}

// What stands behind the prefix, when the text begins with it.
std::optional<std::string> behind(std::string_view prefix, std::string_view text) {
    return text.starts_with(prefix) ? std::optional(std::string(text.substr(prefix.size()))) : std::nullopt;
}

std::optional<json::object> objectIn(const std::string& text) {
    boost::system::error_code error;
    json::value value = json::parse(text, error);
    return !error && value.is_object() ? std::optional(value.as_object()) : std::nullopt;
}

std::string textIn(const json::object& object, const char* member) {
    auto* value = object.if_contains(member);
    return value && value->is_string() ? std::string(value->as_string()) : "";
}

// An item's key names it for everybody: whose it is and where it lies there.
std::string keyOf(const Place& place) {
    return place.owner + "/" + place.path;
}

struct NotOwned {};

// What a link request is about; the files or the folder need not exist.
std::variant<Cover, NotOwned, Answer> coverIn(const json::object& body, const Account& account) {
    if (std::string prefix = textIn(body, "folder_prefix"); !prefix.empty()) {
        auto item = locate(account.email, prefix, {});
        if (!item || !item->place || item->place->path.empty()) return NotOwned{};
        return coverOfFolder(item->place->path);
    }
    auto* keys = body.if_contains("keys");
    if (!keys || !keys->is_array()) return refusal(400, "The request names neither files nor a folder.");
    std::vector<std::string> paths;
    for (const auto& key : keys->as_array()) {
        if (!key.is_string()) return refusal(400, "A file's key is not text.");
        auto path = behind(keyOf({account.email, ""}), std::string_view(key.as_string()));
        if (!path) return NotOwned{};
        paths.push_back(joined(piecesOf(*path)));
    }
    return coverOfFiles(std::move(paths));
}

std::variant<std::optional<std::int64_t>, Answer> daysIn(const json::object& body) {
    auto* member = body.if_contains("expires_in_days");
    if (!member) return std::nullopt;
    boost::system::error_code error;
    auto days = member->to_number<std::int64_t>(error);
    if (error || days < 1 || days > longestLinkDays)
        return refusal(400, "A link can expire after 1 to " + std::to_string(longestLinkDays) + " days.");
    return days;
}

}  // namespace

Answer refusal(int status, const std::string& sentence) {
    return {status, {{"error", sentence}}};
}

Service::Service(const Accounts& accounts, const Storage& storage, Database& database, Clock clock, std::string base)
    : accounts_(accounts),
      storage_(storage),
      grants_(database),
      links_(database),
      tree_(storage, grants_),
      clock_(clock),
      base_(std::move(base)) {}

Answer Service::answer(const Request& request) {
    if (!request.account) return refusal(401, "Tobrel does not know this API key.");
    std::lock_guard lock(mutex_);
    if (request.method == "GET") {
        if (auto identifier = behind("/tobrel/api/item?id=", request.target)) return item(request, *identifier);
        if (auto folder = behind("/tobrel/api/grants?folder_id=", request.target)) return grants(request, *folder);
    }
    if (request.method == "DELETE")
        if (auto id = behind("/tobrel/api/grants/", request.target)) return revokeGrant(request, *id);
    if (request.method == "POST") {
        auto body = objectIn(request.body);
        if (!body) return refusal(400, "The request's body is not a JSON object.");
        if (request.target == "/tobrel/api/grants") return createGrant(request, *body);
        if (request.target == "/tobrel/api/shares/find") return findShares(request, *body);
        if (request.target == "/tobrel/api/shares") return createShare(request, *body);
    }
    return refusal(404, "The server has no such operation.");
}

Answer Service::item(const Request& request, const std::string& identifier) {
    auto item = tree_.withIdentifier(request.account->email, identifier);
    if (!item) return refusal(404, notThere);
    json::object body{{"path", item->path}, {"is_folder", item->isFolder}};
    if (item->place) body["key"] = keyOf(*item->place);
    return {200, body};
}

Answer Service::grants(const Request& request, const std::string& folderId) {
    auto folder = tree_.withIdentifier(request.account->email, folderId);
    if (!folder) return refusal(404, notThere);
    if (!folder->isFolder || !folder->place) return refusal(400, onlyFolders);

    json::array given;
    if (!folder->through)
        for (const Grant& grant : grants_.givenOn(*folder->place))
            given.push_back({{"id", grant.id}, {"email", grant.email}, {"role", grant.role}});
    json::object body{{"role", folder->through ? folder->through->role : "owner"}, {"given", given}};
    if (folder->through)
        body["received"] = {{"id", folder->through->id},
                            {"owner_email", folder->through->folder.owner},
                            {"role", folder->through->role},
                            {"is_top", *folder->place == folder->through->folder},
                            {"folder_name", folder->through->name}};
    return {200, body};
}

Answer Service::createGrant(const Request& request, const json::object& body) {
    auto folder = tree_.withIdentifier(request.account->email, textIn(body, "folder_id"));
    if (!folder) return refusal(404, notThere);
    if (!folder->isFolder || !folder->place) return refusal(400, onlyFolders);
    if (folder->through)
        return refusal(403, "Only " + folder->through->folder.owner + " can share " +
                                inQuotes(lastPieceOf(folder->path)) + " with others.");
    if (folder->path.empty()) return refusal(400, "The whole storage cannot be shared. Choose a folder in it.");
    std::string role = textIn(body, "role");
    if (role != "read" && role != "write") return refusal(400, "A folder is shared for reading or for writing.");
    std::string email = textIn(body, "email");
    const Account* receiver = accounts_.withEmail(email);
    if (!receiver) return refusal(404, email + " has no Tobrel account.");
    if (receiver->email == request.account->email) return refusal(400, "This folder is yours already.");

    Grant grant = grants_.give(*folder->place, receiver->email, role);
    tree_.forget(receiver->email);
    return {200, {{"id", grant.id}, {"email", grant.email}, {"role", grant.role}}};
}

Answer Service::revokeGrant(const Request& request, const std::string& id) {
    auto grant = grants_.withId(id);
    const std::string& email = request.account->email;
    // To anybody else the grant does not exist.
    if (!grant || (grant->folder.owner != email && grant->email != email))
        return refusal(404, "This folder is not shared any more.");
    grants_.revoke(id);
    tree_.forget(grant->email);
    return {200, {{"id", id}}};
}

Answer Service::findShares(const Request& request, const json::object& body) {
    auto cover = coverIn(body, *request.account);
    if (auto* refused = std::get_if<Answer>(&cover)) return *refused;
    json::array shares;
    if (auto* covered = std::get_if<Cover>(&cover))
        for (const Link& link : links_.find(request.account->email, *covered, clock_.now()))
            shares.push_back(described(link));
    return {200, {{"shares", shares}}};
}

Answer Service::createShare(const Request& request, const json::object& body) {
    auto cover = coverIn(body, *request.account);
    if (auto* refused = std::get_if<Answer>(&cover)) return *refused;
    auto days = daysIn(body);
    if (auto* refused = std::get_if<Answer>(&days)) return *refused;
    auto* covered = std::get_if<Cover>(&cover);
    if (!covered) return refusal(403, "Only what is your own can be shared by a link.");
    if (covered->paths.empty()) return refusal(400, "Choose a file or a folder for the link.");
    for (const auto& path : covered->paths) {
        auto item = tree_.at(request.account->email, path);
        if (!item || item->isFolder != (covered->kind == Cover::Kind::folder)) return refusal(404, notThere);
    }

    std::optional<Instant> expires;
    if (auto wanted = std::get<std::optional<std::int64_t>>(days)) expires = clock_.now() + *wanted * 86400;
    std::string name = textIn(body, "name");
    if (name.empty()) name = lastPieceOf(covered->paths.front());
    return {200, described(links_.create(request.account->email, name, *covered, expires))};
}

json::object Service::described(const Link& link) const {
    json::object body{{"url", base_ + "/tobrel/s/" + link.id}, {"name", link.name}};
    if (link.expires) body["expires_at"] = textOf(*link.expires);
    return body;
}

Answer Service::listing(const Account& account, const std::string& path) {
    std::lock_guard lock(mutex_);
    Answer answer{200, {{"user", account.email}, {"users", json::array{}}}};
    for (const Account& other : accounts_.all()) answer.body["users"].as_array().emplace_back(other.email);
    auto folder = tree_.at(account.email, path);
    if (!folder || !folder->isFolder) {
        answer.status = 404;
        answer.body["error"] = "There is no such folder.";
        return answer;
    }
    auto& items = answer.body["items"].emplace_array();
    for (const Item& item : tree_.list(account.email, *folder))
        items.push_back({{"name", lastPieceOf(item.path)},
                         {"is_folder", item.isFolder},
                         {"size", item.size},
                         {"owner", item.through ? item.through->folder.owner : ""}});
    return answer;
}

std::optional<Service::LinkContent> Service::linkContent(const std::string& id) {
    std::lock_guard lock(mutex_);
    auto link = links_.withId(id);
    if (!link) return std::nullopt;
    LinkContent content{*link, isLive(*link, clock_.now()), {}};
    if (!content.live) return content;
    if (link->cover.kind == Cover::Kind::folder) {
        content.entries = storage_.list({link->owner, link->cover.paths.front()});
    } else {
        for (const auto& path : link->cover.paths)
            if (auto entry = storage_.at({link->owner, path})) content.entries.push_back(*entry);
    }
    return content;
}

}  // namespace tobrel::devserver
