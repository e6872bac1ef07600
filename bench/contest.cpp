#include "contest.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <boost/json.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tobrel::bench {

namespace fs = std::filesystem;
namespace json = boost::json;

namespace {

pid_t start(const Command& command, const std::string& input, int output) {
    std::vector<char*> words;
    for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t child = 0;
    int error = posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) fail(command[0] + " cannot be started");
    return child;
}

std::string readLine(int descriptor) {
    std::string line;
    for (char letter; read(descriptor, &letter, 1) == 1 && letter != '\n';) line += letter;
    return line;
}

double at(const std::vector<double>& sorted, double part) {
    return sorted[static_cast<std::size_t>(part * static_cast<double>(sorted.size() - 1) + 0.5)];
}

double medianOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return at(values, 0.5);
}

const char* wordFor(Goal::Kind kind) {
    return kind == Goal::Kind::atMost ? "<=" : ">=";
}

std::string verdict(double value, const Goal& goal) {
    if (goal.kind == Goal::Kind::none) return "";
    bool met = goal.kind == Goal::Kind::atMost ? value <= goal.bound : value >= goal.bound;
    char text[64];
    std::snprintf(text, sizeof text, "  goal %s %.4g: %s", wordFor(goal.kind), goal.bound, met ? "met" : "MISSED");
    return text;
}

void record(json::object row, const Goal& goal) {
    const char* file = std::getenv("TOBREL_BENCH_RECORD");
    if (!file) return;
    if (goal.kind != Goal::Kind::none) row["goal"] = {wordFor(goal.kind), goal.bound};
    std::ofstream(file, std::ios::app) << json::serialize(row) << '\n';
}

}  // namespace

fs::path ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

void fail(const std::string& sentence) {
    throw std::runtime_error(sentence);
}

int guarded(void (*benchmark)()) {
    try {
        benchmark();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        return 1;
    }
}

Folder::Folder() {
    std::string name = (fs::temp_directory_path() / "tobrel-bench.XXXXXX").native();
    if (!mkdtemp(name.data())) fail("no temporary folder");
    path = name;
}

Folder::~Folder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
}

Service::Service(const Command& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) fail("no pipe");
    process_ = start(command, "/dev/null", ends[1]);
    close(ends[1]);
    output_ = ends[0];
}

Service::~Service() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(output_);
}

std::string Service::firstLine() {
    return readLine(output_);
}

double milliseconds(const Command& command, const std::optional<std::string>& input) {
    static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    auto begin = std::chrono::steady_clock::now();
    pid_t child = start(command, input.value_or("/dev/null"), nowhere);
    int status = -1;
    waitpid(child, &status, 0);
    std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    if (status != 0) fail(command[0] + " " + (command.size() > 1 ? command[1] : "") + " failed");
    return taken.count();
}

double peakMebibytes(const Command& command) {
    Command line{ownFolder() / "peak_memory"};
    line.insert(line.end(), command.begin(), command.end());
    return std::atof(Service(line).firstLine().c_str()) / 1024;
}

void compete(std::vector<Contestant*> contestants, int turns) {
    for (int turn = 0; turn < turns; ++turn) {
        for (Contestant* contestant : contestants) {
            contestant->prepare();
            contestant->times.push_back(milliseconds(contestant->command, contestant->input));
        }
        std::reverse(contestants.begin(), contestants.end());
    }
}

Table::Table(std::string area) : area_(std::move(area)) {}

void Table::heading() {
    if (!headed_) std::printf("\n%s\n", area_.c_str());
    headed_ = true;
}

void Table::row(const std::string& figure, const Contestant& contestant, const Contestant& base, const Goal& goal,
                const std::optional<Point>& point) {
    heading();
    std::vector<double> ratios;
    for (std::size_t turn = 0; turn < std::min(contestant.times.size(), base.times.size()); ++turn)
        ratios.push_back(contestant.times[turn] / base.times[turn]);
    std::sort(ratios.begin(), ratios.end());
    double ratio = at(ratios, 0.5);
    double ours = medianOf(contestant.times), theirs = medianOf(base.times);
    std::printf("  %-36s %6.2f x %-34s (%.2f-%.2f, all %.2f-%.2f, %zu turns; %.2f and %.2f ms)%s\n", figure.c_str(),
                ratio, base.name.c_str(), at(ratios, 0.25), at(ratios, 0.75), ratios.front(), ratios.back(),
                ratios.size(), ours, theirs, verdict(ratio, goal).c_str());
    std::fflush(stdout);
    json::object line{{"area", area_},
                      {"figure", figure},
                      {"base", base.name},
                      {"ratio", ratio},
                      {"middle", {at(ratios, 0.25), at(ratios, 0.75)}},
                      {"range", {ratios.front(), ratios.back()}},
                      {"turns", ratios.size()},
                      {"milliseconds", {ours, theirs}}};
    if (point) line["point"] = {point->series, point->size};
    record(std::move(line), goal);
}

void Table::mebibytes(const std::string& figure, double value, const Goal& goal) {
    heading();
    std::printf("  %-36s %6.1f MiB%s\n", figure.c_str(), value, verdict(value, goal).c_str());
    std::fflush(stdout);
    record({{"area", area_}, {"figure", figure}, {"mebibytes", value}}, goal);
}

}  // namespace tobrel::bench
