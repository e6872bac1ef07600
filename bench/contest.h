#pragma once

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// Side-by-side runs of whole programs. Contestants take turns, forwards and backwards, and what is reported is the
// median of the ratios within a turn, with the middle half and the range of them: it holds when the machine's speed
// drifts.
namespace tobrel::bench {

using Command = std::vector<std::string>;

// Where the benchmark programs and the product's stand.
std::filesystem::path ownFolder();

// Ends the benchmark that guarded() runs, and all that it has started.
[[noreturn]] void fail(const std::string& sentence);
// The status for main.
int guarded(void (*benchmark)());

// A temporary folder for as long as the object lives.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    std::filesystem::path path;
};

// A started program whose first line of output is at hand; killed with the object.
class Service {
public:
    explicit Service(const Command& command);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    // Without its line break.
    std::string firstLine();

private:
    pid_t process_ = 0;
    int output_ = -1;
};

// From the start of a process to its end. Its output is thrown away; a status other than 0 ends the benchmark.
double milliseconds(const Command& command, const std::optional<std::string>& input = std::nullopt);
// The largest resident memory of a run of the command, in MiB.
double peakMebibytes(const Command& command);

struct Contestant {
    std::string name;
    Command command;
    // Before each run, outside of its time.
    std::function<void()> prepare = [] {};
    // A file in place of an empty standard input.
    std::optional<std::string> input = std::nullopt;
    std::vector<double> times = {};
};

void compete(std::vector<Contestant*> contestants, int turns);

struct Goal {
    enum class Kind { none, atMost, atLeast };
    Kind kind = Kind::none;
    double bound = 0;
    static Goal atMost(double bound) { return {Kind::atMost, bound}; }
    static Goal atLeast(double bound) { return {Kind::atLeast, bound}; }
};

// A row of a plot of cost against size.
struct Point {
    std::string series;
    double size = 0;
};

// One area's table: printed as it comes, and appended, a JSON object a row, to the file that TOBREL_BENCH_RECORD names.
class Table {
public:
    explicit Table(std::string area);
    // How many times as long as the base the contestant takes.
    void row(const std::string& figure, const Contestant& contestant, const Contestant& base, const Goal& goal = {},
             const std::optional<Point>& point = std::nullopt);
    void mebibytes(const std::string& figure, double value, const Goal& goal = {});

private:
    void heading();
    const std::string area_;
    bool headed_ = false;
};

}  // namespace tobrel::bench
