#include "devserver/links.h"

#include <algorithm>
#include <boost/json.hpp>
#include <cstdio>
#include <random>

namespace tobrel::devserver {

namespace {

std::string stored(const Cover& cover) {
    return boost::json::serialize(boost::json::object{
        {cover.kind == Cover::Kind::folder ? "folder" : "files", boost::json::value_from(cover.paths)}});
}

Cover restored(const std::string& text) {
    auto cover = boost::json::parse(text).as_object();
    const auto& member = *cover.begin();
    return {member.key() == "folder" ? Cover::Kind::folder : Cover::Kind::files,
            boost::json::value_to<std::vector<std::string>>(member.value())};
}

// Whoever has a link's address sees what it covers, so it must not be guessable.
std::string newId() {
    std::random_device random;
    char text[33];
    std::snprintf(text, sizeof text, "%08x%08x%08x%08x", random(), random(), random(), random());
    return text;
}

Link linkOf(const Row& row) {
    auto text = [&](int column) { return std::get<std::string>(row[column]); };
    auto* expires = std::get_if<std::int64_t>(&row[4]);
    return {text(0), text(1), text(2), restored(text(3)), expires ? std::optional(*expires) : std::nullopt};
}

}  // namespace

Cover coverOfFiles(std::vector<std::string> paths) {
    std::ranges::sort(paths);
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    return {Cover::Kind::files, std::move(paths)};
}

Cover coverOfFolder(const std::string& path) {
    return {Cover::Kind::folder, {path}};
}

bool isLive(const Link& link, Instant now) {
    return !link.expires || now < *link.expires;
}

Link Links::create(const std::string& owner, const std::string& name, const Cover& cover,
                   std::optional<Instant> expires) {
    Link link{newId(), owner, name, cover, expires};
    database_.run("INSERT INTO links (id, owner, name, cover, expires) VALUES (?, ?, ?, ?, ?)",
                  {link.id, owner, name, stored(cover), expires ? Value(*expires) : Value(nullptr)});
    return link;
}

std::vector<Link> Links::find(const std::string& owner, const Cover& cover, Instant now) {
    std::vector<Link> links;
    for (const Row& row : database_.run("SELECT id, owner, name, cover, expires FROM links"
                                        " WHERE owner = ? AND cover = ? ORDER BY rowid DESC",
                                        {owner, stored(cover)}))
        if (Link link = linkOf(row); isLive(link, now)) links.push_back(std::move(link));
    return links;
}

std::optional<Link> Links::withId(const std::string& id) {
    auto rows = database_.run("SELECT id, owner, name, cover, expires FROM links WHERE id = ?", {id});
    return rows.empty() ? std::nullopt : std::optional(linkOf(rows.front()));
}

}  // namespace tobrel::devserver
