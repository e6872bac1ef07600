// Pin requests side by side with the least they can cost. Every run is a process of its own, timed from its start to
// its end; contestants take turns, and the figures are medians of the ratios within a turn, with their range.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

fs::path ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

[[noreturn]] void fail(const std::string& sentence) {
    std::fprintf(stderr, "bench: %s\n", sentence.c_str());
    std::exit(1);
}

double milliseconds(const Command& command) {
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = -1;
    auto begin = std::chrono::steady_clock::now();
    if (posix_spawnp(&child, words[0], &quiet, nullptr, words.data(), environ) == 0) waitpid(child, &status, 0);
    std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    posix_spawn_file_actions_destroy(&quiet);
    if (status != 0) fail(command[0] + " failed");
    return taken.count();
}

int printedNumber(const std::string& command) {
    int number = 0;
    std::FILE* output = popen(command.c_str(), "r");
    if (!output || std::fscanf(output, "%d", &number) != 1) fail(command + " printed no number");
    pclose(output);
    return number;
}

struct Contestant {
    std::string name;
    Command command;
    std::function<void()> prepare = [] {};
    std::vector<double> times = {};
};

void compete(std::vector<Contestant*> contestants, int rounds) {
    for (int round = 0; round < rounds; ++round) {
        for (Contestant* contestant : contestants) {
            contestant->prepare();
            contestant->times.push_back(milliseconds(contestant->command));
        }
        std::reverse(contestants.begin(), contestants.end());
    }
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

enum class Goal { atMost, atLeast, none };

void report(const std::string& title, const Contestant& contestant, const Contestant& base, Goal goal, double bound) {
    std::vector<double> ratios;
    for (std::size_t round = 0; round < base.times.size(); ++round)
        ratios.push_back(contestant.times[round] / base.times[round]);
    auto [least, most] = std::minmax_element(ratios.begin(), ratios.end());
    double ratio = medianOf(ratios);
    std::printf("%-34s %6.2f x %-8s (%.2f-%.2f in %zu turns; %.2f and %.2f ms)", title.c_str(), ratio,
                base.name.c_str(), *least, *most, ratios.size(), medianOf(contestant.times), medianOf(base.times));
    bool met = goal == Goal::atMost ? ratio <= bound : ratio >= bound;
    if (goal != Goal::none)
        std::printf("  goal %s %.4g: %s", goal == Goal::atMost ? "<=" : ">=", bound, met ? "met" : "MISSED");
    std::printf("\n");
    std::fflush(stdout);
}

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

void append(const fs::path& folder, int entries, bool foreign, Goal goal) {
    const std::string content = queueOf(entries, foreign);
    const std::string title = "append to " + std::to_string(entries) + (foreign ? ", foreign" : "");
    const std::array<fs::path, 3> homes = {folder / "append", folder / "floor", folder / "jq"};
    for (const fs::path& home : homes) place(home, content);
    Contestant ours{"append", {ownFolder() / "pins_append", homes[0]}};
    Contestant floor{"floor", {ownFolder() / "pins_floor", homes[1]}};
    // The first append makes a foreign queue this program's own.
    if (foreign) ours.prepare = [&] { place(homes[0], content); };
    compete({&ours, &floor}, entries > 100'000 ? 21 : 101);
    report(title, ours, floor, goal, 1.25);
    if (foreign) return;

    const std::string script =
        R"(jq -c '. + [{id: "4f1c2a90-new-item", pin: true}]' "$0" >"$0.new" && sync "$0.new" &&)"
        R"( mv "$0.new" "$0" && sync "${0%/*}")";
    Contestant jq{"jq", {"sh", "-c", script, homes[2] / ".tobrel/pinned_pending.json"}};
    ours.times.clear();
    compete({&ours, &jq}, entries > 100'000 ? 5 : 31);
    report("  by jq", jq, ours, goal == Goal::none ? goal : Goal::atLeast, 10);

    std::string memory = "TOBREL_BENCH_MEMORY=1 ";
    double own = (printedNumber(memory + ours.command[0] + " " + homes[0].native()) -
                  printedNumber(memory + (ownFolder() / "pins_empty").native())) /
                 1024.0;
    std::printf("%-34s %6.2f MiB  goal <= 5: %s\n", "  own memory", own, own <= 5 ? "met" : "MISSED");
}

void startUp(const fs::path& folder, const std::string& program) {
    const fs::path ours = folder / "ours", least = folder / "least";
    for (const fs::path& home : {ours, least}) {
        fs::create_directories(home / "storage");
        std::ofstream(home / "storage/report.pdf") << "x";
        place(home, queueOf(10, false));
        std::string admin = (fs::path(program).parent_path() / "tobrel-admin").native();
        milliseconds({admin, "domain", "add", "--home", home, "cloud", home / "storage"});
        milliseconds({admin, "item", "add", "--home", home, "cloud", "4f1c2a90-report", "report.pdf"});
    }
    Contestant keep{"keep", {program, "keep", "--home", ours, ours / "storage/report.pdf"}};
    Contestant minimal{"minimal", {ownFolder() / "pins_minimal", least, "cloud", "report.pdf"}};
    Contestant empty{"empty", {ownFolder() / "pins_empty"}};
    compete({&keep, &minimal, &empty}, 201);
    report("tobrel-action keep PATH", keep, minimal, Goal::atMost, 1.2);
    report("tobrel-action keep PATH", keep, empty, Goal::atMost, 3);
    report("  the minimal program", minimal, empty, Goal::none, 0);
}

}  // namespace

// [TOBREL-ACTION]: the program to measure, with tobrel-admin beside it.
int main(int count, char* words[]) {
    std::string folder = fs::temp_directory_path() / "tobrel-bench.XXXXXX";
    if (!mkdtemp(folder.data())) fail("no temporary folder");
    startUp(folder, count > 1 ? words[1] : (ownFolder() / "tobrel-action").native());
    append(folder, 0, false, Goal::none);
    append(folder, 10'000, false, Goal::atMost);
    append(folder, 1'000'000, false, Goal::atMost);
    append(folder, 1'000'000, true, Goal::none);
    fs::remove_all(folder);
}
