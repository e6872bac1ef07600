#pragma once

#include <sys/types.h>

#include <boost/json/object.hpp>
#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace tobrel::testing {

// How a program ended.
struct Ended {
    // Its exit status, or the negative number of the signal that killed it.
    int status = 0;
    std::string output;
    std::string errors;

    std::vector<std::string> lines() const;
    // The lines as the JSON front end's events, those of one name.
    std::vector<boost::json::object> events(const std::string& name) const;
};

// A started program of the build, or any other by its path; killed on destruction.
class Program {
public:
    struct Setting {
        // Extra NAME=VALUE words; the rest of the environment is the test's own.
        std::vector<std::string> environment;
        // In place of a pipe to the test: the path of a file, or "" for a closed descriptor.
        std::optional<std::string> standardOutput;
        // Nobody reads the pipe of its standard output.
        bool readerHasGone = false;
    };

    explicit Program(const std::vector<std::string>& words) : Program(words, Setting{}) {}
    Program(const std::vector<std::string>& words, const Setting& setting);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void write(const std::string& input);
    void endInput();
    void kill(int signal);
    pid_t id() const { return process_; }
    // Reads its output until a line holds the text; fails the test where the program ends, or 30 s pass, first.
    std::string waitForLine(const std::string& text);
    // Ends its input and reads all it has to say.
    Ended wait();

private:
    bool readSome(std::chrono::steady_clock::time_point deadline);

    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
    int errors_ = -1;
    std::size_t searched_ = 0;
    Ended ended_;
};

Ended run(const std::vector<std::string>& words, const std::string& input = {});

}  // namespace tobrel::testing
