// Pin requests side by side with the least they can cost, and with what a script would do.
#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>

#include "contest.h"

using namespace tobrel::bench;
namespace fs = std::filesystem;

namespace {

// The queue as this program writes it, or with the white space and the members of another.
std::string queueOf(int entries, bool foreign) {
    std::string text = "[";
    char entry[128];
    for (int index = 0; index < entries; ++index) {
        const char* format = foreign ? "%s{\"pin\": %s, \"id\": \"%08x-%04x-item\", \"n\": 1.5}\n"
                                     : "%1$s{\"id\":\"%3$08x-%4$04x-item\",\"pin\":%2$s}";
        std::snprintf(entry, sizeof entry, format, index ? "," : "", index % 3 ? "true" : "false", index * 2654435761u,
                      index & 0xFFFF);
        text += entry;
    }
    return text + "]";
}

void place(const fs::path& home, const std::string& content) {
    fs::create_directories(home / ".tobrel");
    std::ofstream(home / ".tobrel/pinned_pending.json", std::ios::binary) << content;
    sync();
}

void append(Table& table, const fs::path& folder, int entries, bool foreign, const Goal& goal) {
    const std::string content = queueOf(entries, foreign);
    const std::string title = "append to " + std::to_string(entries) + (foreign ? ", of another program" : "");
    const std::array<fs::path, 3> homes = {folder / "append", folder / "floor", folder / "jq"};
    for (const fs::path& home : homes) place(home, content);
    Contestant ours{"append", {ownFolder() / "pins_append", homes[0]}};
    Contestant floor{"reading, writing and moving the queue", {ownFolder() / "pins_floor", homes[1]}};
    // The first append makes a foreign queue this program's own.
    if (foreign) ours.prepare = [&] { place(homes[0], content); };
    compete({&ours, &floor}, entries > 100'000 ? 21 : 101);
    table.row(title, ours, floor, goal,
              Point{foreign ? "appending to a queue of another program" : "appending to the queue",
                    static_cast<double>(entries)});
    if (foreign) return;

    const std::string script =
        R"(jq -c '. + [{id: "4f1c2a90-new-item", pin: true}]' "$0" >"$0.new" && sync "$0.new" &&)"
        R"( mv "$0.new" "$0" && sync "${0%/*}")";
    Contestant jq{"jq", {"sh", "-c", script, homes[2] / ".tobrel/pinned_pending.json"}};
    ours.times.clear();
    compete({&ours, &jq}, entries > 100'000 ? 5 : 31);
    table.row(title, ours, jq, entries > 0 ? Goal::atMost(0.1) : Goal{});
    double own = peakMebibytes(ours.command) - peakMebibytes({ownFolder() / "pins_empty"});
    table.mebibytes(title + ", beyond an empty program", own, Goal::atMost(5));
}

void startUp(Table& table, const fs::path& folder) {
    const std::string program = ownFolder() / "tobrel-action", admin = ownFolder() / "tobrel-admin";
    const fs::path ours = folder / "ours", least = folder / "least";
    for (const fs::path& home : {ours, least}) {
        fs::create_directories(home / "storage");
        std::ofstream(home / "storage/report.pdf") << "x";
        place(home, queueOf(10, false));
        milliseconds({admin, "domain", "add", "--home", home, "cloud", home / "storage"});
        milliseconds({admin, "item", "add", "--home", home, "cloud", "4f1c2a90-report", "report.pdf"});
    }
    Contestant keep{"keep", {program, "keep", "--home", ours, ours / "storage/report.pdf"}};
    Contestant minimal{"the least that does it", {ownFolder() / "pins_minimal", least, "cloud", "report.pdf"}};
    Contestant empty{"an empty program", {ownFolder() / "pins_empty"}};
    compete({&keep, &minimal, &empty}, 201);
    table.row("keep PATH", keep, minimal, Goal::atMost(1.2));
    table.row("keep PATH", keep, empty, Goal::atMost(3));
}

void measure() {
    Folder folder;
    Table commands("The command keep");
    startUp(commands, folder.path);
    Table appends("Appending one pin request to the queue");
    append(appends, folder.path, 1, false, {});
    append(appends, folder.path, 1'000, false, {});
    append(appends, folder.path, 10'000, false, Goal::atMost(1.25));
    append(appends, folder.path, 100'000, false, Goal::atMost(1.25));
    append(appends, folder.path, 1'000'000, false, Goal::atMost(1.25));
    for (int entries : {1'000, 100'000, 1'000'000})
        append(appends, folder.path, entries, true, entries > 1'000 ? Goal::atMost(1.6) : Goal{});
}

}  // namespace

int main() {
    return guarded(measure);
}
