#pragma once

#include <optional>
#include <string>
#include <vector>

#include "devserver/clock.h"
#include "devserver/database.h"
#include "devserver/storage.h"

namespace tobrel::devserver {

constexpr std::int64_t longestLinkDays = 3650;

// What a link covers, all of it in one user's storage: some files, or one folder.
struct Cover {
    enum class Kind { files, folder };
    Kind kind = Kind::files;
    std::vector<std::string> paths;
    bool operator==(const Cover&) const = default;
};

// The same files in any order and number are the same cover.
Cover coverOfFiles(std::vector<std::string> paths);
Cover coverOfFolder(const std::string& path);

struct Link {
    std::string id;
    std::string owner;
    std::string name;
    Cover cover;
    std::optional<Instant> expires;
};

bool isLive(const Link& link, Instant now);

class Links {
public:
    explicit Links(Database& database) : database_(database) {}

    Link create(const std::string& owner, const std::string& name, const Cover& cover, std::optional<Instant> expires);
    // The live links for exactly this cover, newest first.
    std::vector<Link> find(const std::string& owner, const Cover& cover, Instant now);
    std::optional<Link> withId(const std::string& id);

private:
    Database& database_;
};

}  // namespace tobrel::devserver
