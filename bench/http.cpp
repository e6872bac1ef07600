// Lookups by the thousand through the product's HTTP client, side by side with the curl command and with a load
// generator, which is as fast as the server can be asked. Runs are interleaved; each is a process of its own, timed
// from its start to its end. The figures are medians with their range.
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "http_answer.h"

namespace {

using Command = std::vector<std::string>;
namespace fs = std::filesystem;

fs::path ownFolder() {
    return fs::read_symlink("/proc/self/exe").parent_path();
}

pid_t start(const Command& command, int output) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t child = fork();
    if (child != 0) return child;
    dup2(output, STDOUT_FILENO);
    execvp(arguments[0], arguments.data());
    std::perror(arguments[0]);
    _exit(127);
}

// A server for as long as the object lives.
class Server {
public:
    explicit Server(const Command& command) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
        process_ = start(command, ends[1]);
        close(ends[1]);
        output_ = fdopen(ends[0], "r");
    }
    ~Server() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
        std::fclose(output_);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::string firstLine() {
        char line[64] = {};
        if (!std::fgets(line, sizeof line, output_)) std::exit(1);
        return std::to_string(std::atoi(line));
    }

private:
    pid_t process_;
    std::FILE* output_;
};

struct Run {
    double milliseconds;
    double mebibytes;
};

Run run(const Command& command) {
    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    auto begin = std::chrono::steady_clock::now();
    pid_t child = start(command, nowhere);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - begin;
    close(nowhere);
    if (status != 0) {
        std::fprintf(stderr, "%s failed\n", command[0].c_str());
        std::exit(1);
    }
    return {taken.count(), static_cast<double>(usage.ru_maxrss) / 1024};
}

struct Contestant {
    std::string name;
    Command command;
    // The client should take at most so many times as long.
    double goal = 0;
    std::vector<Run> runs = {};

    std::vector<double> sorted(double Run::*figure) const {
        std::vector<double> figures;
        for (const Run& run : runs) figures.push_back(run.*figure);
        std::sort(figures.begin(), figures.end());
        return figures;
    }
    double median(double Run::*figure) const { return sorted(figure)[runs.size() / 2]; }
};

// The first is compared with each of the others.
void compete(const std::string& title, std::vector<Contestant> contestants, int rounds) {
    for (int round = 0; round < rounds; ++round)
        for (Contestant& contestant : contestants) contestant.runs.push_back(run(contestant.command));
    std::printf("%s\n", title.c_str());
    double ours = contestants.front().median(&Run::milliseconds);
    for (const Contestant& contestant : contestants) {
        auto times = contestant.sorted(&Run::milliseconds);
        double median = contestant.median(&Run::milliseconds);
        std::printf("  %-28s %8.1f ms (%.1f-%.1f) %6.1f MiB", contestant.name.c_str(), median, times.front(),
                    times.back(), contestant.median(&Run::mebibytes));
        if (&contestant != &contestants.front()) std::printf("   the client takes %.2f x as long", ours / median);
        if (contestant.goal > 0) std::printf(" (goal: %.1f)", contestant.goal);
        std::printf("\n");
    }
    std::fflush(stdout);
}

std::vector<Contestant> lookups(const std::string& server, int count) {
    std::string last = std::to_string(count - 1);
    std::string connections = std::to_string(std::min(count, 16));
    std::string key = "X-API-Key: 0123456789abcdef0123456789abcdef";
    std::string client = "X-Tobrel-Client: macos/1.0 (1); Tobrel";
    std::string item = server + "/tobrel/api/item?id=item-";
    Command curl = {"curl", "--no-progress-meter", "-f", "-o", "/dev/null", "-H", key, "-H", client};
    if (count > 1) curl.insert(curl.end(), {"--parallel", "--parallel-max", "50"});
    curl.push_back(item + "[0-" + last + "]");
    return {{"the client", {ownFolder() / "http_lookups", std::to_string(count), server}},
            {count > 1 ? "curl --parallel-max 50" : "curl", curl, count >= 100 ? 1.0 : 0},
            {"h2load --h1 -c" + connections,
             {"h2load", "--h1", "-c" + connections, "-n" + std::to_string(count), "-H", key, "-H", client, item},
             count == 10000  ? 2.3
             : count == 1000 ? 2.0
                             : 0}};
}

std::string freePort() {
    int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(probe, reinterpret_cast<sockaddr*>(&address), length) != 0) std::exit(1);
    getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
    close(probe);
    return std::to_string(ntohs(address.sin_port));
}

void waitForServer(const std::string& port) {
    for (int attempt = 0; attempt < 500; ++attempt) {
        int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{.sin_family = AF_INET,
                            .sin_port = htons(static_cast<std::uint16_t>(std::stoi(port))),
                            .sin_addr = {htonl(INADDR_LOOPBACK)}};
        bool answers = connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
        close(probe);
        if (answers) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::exit(1);
}

void overTLS(const fs::path& folder) {
    std::string key = folder / "key.pem";
    std::string certificate = folder / "certificate.pem";
    run({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2",
         "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout", key, "-out", certificate});
    setenv("CURL_CA_BUNDLE", certificate.c_str(), 1);
    fs::create_directories(folder / "tobrel/api");
    std::ofstream(folder / "tobrel/api/item") << tobrel::bench::kAnswer;
    std::string port = freePort();
    Server server({"nghttpd", "--htdocs=" + folder.string(), "--address=127.0.0.1", port, key, certificate});
    waitForServer(port);
    std::string address = "https://localhost:" + port;
    auto single = lookups(address, 1);
    compete("1 lookup over TLS", {single[0], {"an empty program", {ownFolder() / "http_empty"}, 2.0}, single[1]}, 21);
    auto many = lookups(address, 1000);
    many.pop_back();
    compete("1000 lookups over TLS", many, 5);
}

}  // namespace

int main() {
    for (const char* name : {"CURL_CA_BUNDLE", "SSL_CERT_DIR", "SSL_CERT_FILE", "http_proxy", "https_proxy",
                             "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        unsetenv(name);
    {
        Server server({ownFolder() / "http_server"});
        std::string address = "http://127.0.0.1:" + server.firstLine();
        for (auto [count, rounds] : std::map<int, int>{{1, 21}, {100, 21}, {1000, 15}, {10000, 9}})
            compete(std::to_string(count) + (count == 1 ? " lookup" : " lookups at once"), lookups(address, count),
                    rounds);
    }
    std::string folder = fs::temp_directory_path() / "tobrel-bench.XXXXXX";
    if (!mkdtemp(folder.data())) return 1;
    overTLS(folder);
    fs::remove_all(folder);
}
