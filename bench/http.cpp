// Lookups by the thousand through the product's HTTP client, side by side with the curl command, with a load generator,
// which is as fast as the server can be asked, and with the least that the same library can do.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "contest.h"
#include "http_answer.h"

using namespace tobrel::bench;
namespace fs = std::filesystem;

namespace {

struct Lookups {
    Contestant client, least, curl, generator;
};

Lookups lookups(const std::string& server, int count) {
    std::string number = std::to_string(count), last = std::to_string(count - 1);
    std::string connections = std::to_string(std::min(count, 16));
    std::string key = "X-API-Key: 0123456789abcdef0123456789abcdef";
    std::string client = "X-Tobrel-Client: macos/1.0 (1); Tobrel";
    std::string item = server + "/tobrel/api/item?id=item-";
    Command curl = {"curl", "--no-progress-meter", "-f", "-o", "/dev/null", "-H", key, "-H", client};
    if (count > 1) curl.insert(curl.end(), {"--parallel", "--parallel-max", "50"});
    curl.push_back(item + "[0-" + last + "]");
    return {{"the client", {ownFolder() / "http_lookups", number, server}},
            {"a minimal program over the library", {ownFolder() / "http_minimal", number, server}},
            {count > 1 ? "curl --parallel-max 50" : "curl", curl},
            {"h2load --h1 -c" + connections,
             {"h2load", "--h1", "-c" + connections, "-n" + number, "-H", key, "-H", client, item}}};
}

std::string freePort() {
    int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(probe, reinterpret_cast<sockaddr*>(&address), length) != 0) fail("no free port");
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
    fail("the HTTP/2 server does not start");
}

void plain() {
    Table table("Lookups over HTTP/1.1");
    Service server({ownFolder() / "http_server"});
    std::string address = "http://127.0.0.1:" + server.firstLine();
    for (int count : {1, 100, 1000, 10'000}) {
        std::string figure = std::to_string(count) + (count == 1 ? " lookup" : " lookups at once");
        Lookups all = lookups(address, count);
        compete({&all.client, &all.least, &all.curl, &all.generator}, count > 1000 ? 9 : 21);
        table.row(figure, all.client, all.generator, count == 1000 ? Goal::atMost(1.8) : Goal{},
                  Point{"lookups over HTTP 1.1", static_cast<double>(count)});
        table.row(figure, all.client, all.least, count == 10'000 ? Goal::atMost(1) : Goal{});
        table.row(figure, all.client, all.curl,
                  count == 10'000 ? Goal::atMost(0.75)
                  : count >= 100  ? Goal::atMost(1)
                                  : Goal{});
        if (count == 10'000) table.mebibytes(figure, peakMebibytes(all.client.command), Goal::atMost(16));
    }
}

void overTLS() {
    Table table("Lookups over TLS with HTTP/2");
    Folder folder;
    std::string key = folder.path / "key.pem", certificate = folder.path / "certificate.pem";
    milliseconds({"sh",
                  "-c",
                  "exec \"$@\" 2>/dev/null",
                  "sh",
                  "openssl",
                  "req",
                  "-x509",
                  "-newkey",
                  "ec",
                  "-pkeyopt",
                  "ec_paramgen_curve:prime256v1",
                  "-nodes",
                  "-days",
                  "2",
                  "-subj",
                  "/CN=localhost",
                  "-addext",
                  "subjectAltName=DNS:localhost",
                  "-keyout",
                  key,
                  "-out",
                  certificate});
    setenv("CURL_CA_BUNDLE", certificate.c_str(), 1);
    fs::create_directories(folder.path / "tobrel/api");
    std::ofstream(folder.path / "tobrel/api/item") << answerText;
    std::string port = freePort();
    Service server({"nghttpd", "--htdocs=" + folder.path.string(), "--address=127.0.0.1", port, key, certificate});
    waitForServer(port);
    for (int count : {1, 1000, 10'000}) {
        std::string figure = std::to_string(count) + (count == 1 ? " lookup" : " lookups at once");
        Lookups all = lookups("https://localhost:" + port, count);
        Contestant empty{"an empty program with the library", {ownFolder() / "http_empty"}};
        compete({&all.client, &all.curl, &empty}, count > 1000 ? 5 : count > 1 ? 9 : 21);
        if (count == 1) table.row(figure, all.client, empty, Goal::atMost(2));
        table.row(figure, all.client, all.curl, count == 10'000 ? Goal::atMost(0.75) : Goal{},
                  Point{"lookups over HTTP 2", static_cast<double>(count)});
    }
}

void measure() {
    for (const char* name : {"CURL_CA_BUNDLE", "SSL_CERT_DIR", "SSL_CERT_FILE", "http_proxy", "https_proxy",
                             "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        unsetenv(name);
    plain();
    overTLS();
}

}  // namespace

int main() {
    return guarded(measure);
}
