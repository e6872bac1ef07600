#include "support/program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/json/parse.hpp>
#include <csignal>
#include <sstream>
#include <stdexcept>
#include <utility>

extern char** environ;

namespace tobrel::testing {

namespace {

constexpr std::chrono::seconds patience{30};

struct Pipe {
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
        reading = ends[0];
        writing = ends[1];
    }
    int reading;
    int writing;
};

std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (auto& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    return pointers;
}

}  // namespace

std::vector<std::string> Ended::lines() const {
    std::vector<std::string> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

std::vector<boost::json::object> Ended::events(const std::string& name) const {
    std::vector<boost::json::object> events;
    for (const auto& line : lines()) {
        auto event = boost::json::parse(line).as_object();
        if (event.at("event").as_string() == name) events.push_back(std::move(event));
    }
    return events;
}

Program::Program(const std::vector<std::string>& given, const Setting& setting) {
    // A program that ends without reading its input must not end the test.
    signal(SIGPIPE, SIG_IGN);
    Pipe input;
    Pipe output;
    Pipe errors;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.reading, STDIN_FILENO);
    const char* path = setting.standardOutput ? setting.standardOutput->c_str() : nullptr;
    if (!path)
        posix_spawn_file_actions_adddup2(&actions, output.writing, STDOUT_FILENO);
    else if (!*path)
        posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
    else
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, path, O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, errors.writing, STDERR_FILENO);

    std::vector<std::string> words = given;
    if (words[0].find('/') == std::string::npos && words[0].starts_with("tobrel-"))
        words[0] = std::string(TOBREL_BIN_DIR "/") + words[0];
    std::vector<std::string> environment;
    for (char** variable = environ; *variable; ++variable) environment.emplace_back(*variable);
    environment.insert(environment.end(), setting.environment.begin(), setting.environment.end());
    // Nothing of this process's own signals, nor of whoever started it in the background.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    if (setting.readerHasGone) close(std::exchange(output.reading, -1));
    int error = posix_spawnp(&process_, words[0].c_str(), &actions, &attributes, pointers(words).data(),
                             pointers(environment).data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(input.reading);
    close(output.writing);
    close(errors.writing);
    input_ = input.writing;
    output_ = output.reading;
    errors_ = errors.reading;
    if (error != 0) throw std::runtime_error("cannot start " + words[0]);
}

Program::~Program() {
    endInput();
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    for (int descriptor : {output_, errors_})
        if (descriptor != -1) close(descriptor);
}

void Program::write(const std::string& input) {
    std::string_view rest = input;
    while (!rest.empty()) {
        ssize_t count = ::write(input_, rest.data(), rest.size());
        if (count <= 0) return;
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
}

void Program::endInput() {
    if (input_ != -1) close(input_);
    input_ = -1;
}

void Program::kill(int signal) {
    ::kill(process_, signal);
}

bool Program::readSome(std::chrono::steady_clock::time_point deadline) {
    pollfd watched[] = {{output_, POLLIN, 0}, {errors_, POLLIN, 0}};
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || poll(watched, 2, static_cast<int>(left.count())) <= 0) {
        ADD_FAILURE() << "the program says nothing more; so far:\n" << ended_.output << ended_.errors;
        return false;
    }
    char buffer[64 * 1024];
    for (auto [descriptor, text] : {std::pair{&output_, &ended_.output}, std::pair{&errors_, &ended_.errors}}) {
        if (*descriptor == -1 || !(descriptor == &output_ ? watched[0] : watched[1]).revents) continue;
        ssize_t count = read(*descriptor, buffer, sizeof buffer);
        if (count > 0) {
            text->append(buffer, static_cast<std::size_t>(count));
        } else {
            close(*descriptor);
            *descriptor = -1;
        }
    }
    return true;
}

std::string Program::waitForLine(const std::string& text) {
    auto deadline = std::chrono::steady_clock::now() + patience;
    while (true) {
        for (std::size_t end; (end = ended_.output.find('\n', searched_)) != std::string::npos;) {
            std::string line = ended_.output.substr(searched_, end - searched_);
            searched_ = end + 1;
            if (line.find(text) != std::string::npos) return line;
        }
        if (output_ == -1 || !readSome(deadline)) {
            ADD_FAILURE() << "no line with " << text << " in:\n" << ended_.output << ended_.errors;
            return {};
        }
    }
}

Ended Program::wait() {
    endInput();
    auto deadline = std::chrono::steady_clock::now() + patience;
    while ((output_ != -1 || errors_ != -1) && readSome(deadline)) {
    }
    if (output_ != -1 || errors_ != -1) kill(SIGKILL);
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    ended_.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return std::move(ended_);
}

Ended run(const std::vector<std::string>& words, const std::string& input) {
    Program program(words);
    program.write(input);
    return program.wait();
}

}  // namespace tobrel::testing
