// What people wait for, command by command, beside what they would write in its place: a script of curl and jq that
// makes the same requests against the same development server.
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <string_view>

#include "storage.h"

using namespace tobrel::bench;
namespace fs = std::filesystem;

namespace {

void writeScript(const fs::path& path, const std::string& text) {
    std::ofstream(path) << "#!/bin/sh\nset -eu\n" << text;
    chmod(path.c_str(), 0755);
}

std::string lines(const std::vector<std::string>& words, const std::string& before = "",
                  const std::string& behind = "") {
    std::string text;
    for (auto& word : words) text.append(before).append(word).append(behind).append("\n");
    return text;
}

// Scripts that make a command's requests: KEY and SERVER as words 1 and 2, then their own.
constexpr const char* shareOne = R"(api=$2/tobrel/api
ask() { curl -f --no-progress-meter -H "X-API-Key: $key" "$@"; }
key=$1
name=$(ask "$api/item?id=$3" | jq -r .key)
body=$(jq -cn --arg key "$name" '{keys: [$key]}')
ask -H 'Content-Type: application/json' -d "$body" "$api/shares/find" >/dev/null
body=$(jq -cn --arg key "$name" '{name: ($key | split("/") | last), keys: [$key], expires_in_days: 30}')
ask -H 'Content-Type: application/json' -d "$body" "$api/shares" | jq -r .url
)";

// Word 3: a file of curl's own "url = ..." lines.
constexpr const char* shareMany = R"(api=$2/tobrel/api
ask() { curl -f --no-progress-meter -H "X-API-Key: $key" "$@"; }
key=$1
keys=$(ask --parallel --parallel-max 50 -K "$3" | jq -cs 'map(.key)')
printf '{"keys":%s}' "$keys" | ask -H 'Content-Type: application/json' -d @- "$api/shares/find" >/dev/null
printf '{"name":"%s files from Tobrel","keys":%s,"expires_in_days":30}' "$4" "$keys" |
    ask -H 'Content-Type: application/json' -d @- "$api/shares" | jq -r .url
)";

constexpr const char* pageOfOne =
    R"(path=$(curl -sf -H "X-API-Key: $1" "$2/tobrel/api/item?id=$3" | jq -r '.path | split("/")[:-1] | map(@uri) | join("/")')
printf '%s/tobrel/account/files#files/%s\n' "$2" "$path"
)";

constexpr const char* grantsOfOne = R"(ask() { curl -f --no-progress-meter -H "X-API-Key: $key" "$@"; }
key=$1
ask "$2/tobrel/api/item?id=$3" | jq -e .is_folder >/dev/null
ask "$2/tobrel/api/grants?folder_id=$3" | jq -r '.given[] | [.email, if .role == "write" then "edit" else "view" end] | @tsv'
)";

class Scripts {
public:
    explicit Scripts(const Storage& storage) : storage_(storage) {}
    Contestant contestant(const std::string& name, const char* text, Command words) const {
        fs::path path = storage_.path() / (name + ".sh");
        writeScript(path, text);
        words.insert(words.begin(), {path.native(), storage_.key(), storage_.server()});
        return {"a curl and jq script", words};
    }

private:
    const Storage& storage_;
};

std::string itemsFile(const Storage& storage, int count) {
    std::string path = storage.path() / ("items-" + std::to_string(count));
    std::ofstream(path) << lines(storage.items(count), "id:");
    return path;
}

void share(const Storage& storage) {
    Table table("Sharing, to the printed link");
    Scripts scripts(storage);
    for (int count : {1, 10, 100, 1000}) {
        std::string urls = storage.path() / "urls";
        std::ofstream(urls) << lines(storage.items(count),
                                     "url = \"" + storage.server() + "/tobrel/api/item?id=", "\"");
        Contestant ours{"share", storage.action({"share", "--front-end", "batch", "--new", "--items-from",
                                                 itemsFile(storage, count)})};
        Contestant script = count == 1 ? scripts.contestant("share-one", shareOne, {storage.items(1).front()})
                                       : scripts.contestant("share-many", shareMany, {urls, std::to_string(count)});
        compete({&ours, &script}, count > 100 ? 11 : 21);
        Goal goal = count == 1 ? Goal::atMost(0.8) : count == 1000 ? Goal::atMost(0.5) : Goal{};
        table.row("share " + std::to_string(count) + (count == 1 ? " file" : " files"), ours, script, goal,
                  Point{"sharing files", static_cast<double>(count)});
    }
}

// By the sheet, as a bridge program drives it: to the form, and to the copied link.
void sheet(const Storage& storage) {
    Table table("The sheet, from the command's start");
    Scripts scripts(storage);
    std::string toForm = storage.path() / "to-form", toLink = storage.path() / "to-link";
    // The live link is taken where there is one; it has been made above.
    std::ofstream(toForm) << R"({"do":"wait","text":"Link expires"})"
                             "\n"
                             R"({"do":"wait","title":"Cancel"})"
                             "\n";
    std::ofstream(toLink) << R"({"do":"wait","title":"New Link"})"
                             "\n"
                             R"({"do":"click","title":"New Link"})"
                             "\n"
                             R"({"do":"wait","text":"Link copied"})"
                             "\n";
    std::string item = storage.items(1).front();
    Command line = storage.action({"share", "--front-end", "json", "id:" + item});
    Contestant form{"form", line, [] {}, toForm}, link{"link", line, [] {}, toLink};
    Contestant script = scripts.contestant("share-one", shareOne, {item});
    compete({&form, &link, &script}, 21);
    table.row("share: the form", form, script);
    table.row("share: the copied link", link, script, Goal::atMost(1));
}

void oneItem(const Storage& storage) {
    Table table("One command, one item");
    Scripts scripts(storage);
    std::string item = storage.items(1).front();
    Contestant online{"online", storage.action({"online", "--front-end", "batch", "id:" + item})};
    Contestant empty{"an empty program with the HTTP library", {ownFolder() / "http_empty"}};
    Contestant curl{"the curl command",
                    {"curl", "-sf", "-o", "/dev/null", "-H", "X-API-Key: " + storage.key(),
                     storage.server() + "/tobrel/api/item?id=" + item}};
    Contestant script = scripts.contestant("page", pageOfOne, {item});
    Contestant doctor{"doctor", {ownFolder() / "tobrel-admin", "--home", storage.path() / "home", "doctor"}};
    compete({&online, &empty, &curl, &script, &doctor}, 41);
    table.row("online", online, empty);
    table.row("online", online, curl);
    table.row("online", online, script, Goal::atMost(0.8));
    table.row("doctor", doctor, curl);
}

void pins(const Storage& storage) {
    Table table("Making many items available offline");
    fs::path queue = storage.path() / "home/.tobrel/pinned_pending.json",
             copy = storage.path() / "copy/.tobrel/pinned_pending.json";
    fs::create_directories(copy.parent_path());
    for (int count : {1, 1000, 100'000}) {
        std::string items = storage.path() / "many", entries = "[";
        std::ofstream list(items);
        for (int number = 0; number < count; ++number) {
            std::string item = "4f1c2a90-" + std::to_string(1'000'000 + number);
            list << "id:" << item << '\n';
            entries += (number ? ",{\"id\":\"" : "{\"id\":\"") + item + "\",\"pin\":true}";
        }
        list.close();
        std::ofstream(copy) << entries << ']';
        Contestant keep{"keep", storage.action({"keep", "--items-from", items}), [&] { fs::remove(queue); }};
        Contestant floor{"reading, writing and moving the queue",
                         {ownFolder() / "pins_floor", copy.parent_path().parent_path()}};
        compete({&keep, &floor}, count > 1000 ? 15 : 51);
        table.row("keep " + std::to_string(count), keep, floor, count > 1000 ? Goal::atMost(2) : Goal{},
                  Point{"keeping items", static_cast<double>(count)});
    }
}

void resolving(const Storage& storage) {
    Table table("Resolving a selection");
    for (int count : {1, 1000, 10'000}) {
        Command words{storage.path() / "home", std::to_string(count), itemsFile(storage, count)};
        Contestant ours{"resolve", words}, floor{"two prepared look-ups an item", words};
        ours.command.insert(ours.command.begin(), ownFolder() / "resolve_items");
        floor.command.insert(floor.command.begin(), ownFolder() / "resolve_floor");
        compete({&ours, &floor}, count > 1000 ? 15 : 51);
        table.row("resolve " + std::to_string(count), ours, floor, count > 1000 ? Goal::atMost(2) : Goal{},
                  Point{"resolving items", static_cast<double>(count)});
    }
}

void memory(const Storage& storage) {
    Table table("Peak memory");
    std::string item = "id:" + storage.items(1).front(), folder = "id:" + storage.folderItem();
    table.mebibytes("an empty program", peakMebibytes({ownFolder() / "pins_empty"}));
    table.mebibytes("keep", peakMebibytes(storage.action({"keep", item})));
    for (const char* command : {"share", "online"})
        table.mebibytes(command, peakMebibytes(storage.action({command, "--front-end", "batch", item})));
    table.mebibytes(
        "share 10,000 files",
        peakMebibytes(storage.action({"share", "--front-end", "batch", "--items-from", itemsFile(storage, 10'000)})));
    table.mebibytes("manage", peakMebibytes(storage.action({"manage", "--front-end", "batch", folder})));
    table.mebibytes("the curl command", peakMebibytes({"curl", "-s", "-o", "/dev/null", storage.server() + "/"}));
}

void manage(const Storage& storage) {
    Table table("The list of whom a folder is shared with");
    Scripts scripts(storage);
    std::string folder = "id:" + storage.folderItem();
    int granted = 0;
    for (int count : {1, 10, 100, 1000}) {
        for (; granted < count; ++granted)
            milliseconds(
                storage.action({"share-with", "--front-end", "batch", "--email", Storage::user(granted), folder}));
        Contestant ours{"manage", storage.action({"manage", "--front-end", "batch", folder})};
        Contestant script = scripts.contestant("grants", grantsOfOne, {storage.folderItem()});
        compete({&ours, &script}, 21);
        table.row("manage, " + std::to_string(count) + (count == 1 ? " row" : " rows"), ours, script, Goal::atMost(0.8),
                  Point{"listing rows", static_cast<double>(count)});
    }
}

struct Area {
    std::string_view word;
    void (*measure)(const Storage& storage);
};

constexpr Area areas[] = {{"batch", share},       {"sheet", sheet}, {"one-item", oneItem}, {"manage", manage},
                          {"resolve", resolving}, {"keep", pins},   {"memory", memory}};

std::vector<std::string_view> wanted;

void measure() {
    Storage storage(10'000);
    for (auto& area : areas)
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), area.word) != wanted.end()) area.measure(storage);
}

}  // namespace

// [AREA...]: only those areas.
int main(int count, char* words[]) {
    wanted.assign(words + 1, words + count);
    return guarded(measure);
}
