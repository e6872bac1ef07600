#include "devserver/server.h"

#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdio>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <thread>
#include <utility>

#include "devserver/pages.h"

namespace tobrel::devserver {

namespace {

using namespace std::chrono_literals;

// A connection holds a thread as long as it is kept alive: enough for several clients' 64 and as many that say nothing.
constexpr std::size_t threads = 256;
constexpr auto longestSilence = 10s;
constexpr auto longestConnection = 60s;
constexpr std::size_t longestBody = 16 << 20;
constexpr std::size_t longestLoggedBody = 400;

void setJson(httplib::Response& response, const Answer& answer) {
    response.status = answer.status;
    response.set_content(boost::json::serialize(answer.body), "application/json");
}

void setPage(httplib::Response& response, int status, const std::string& page) {
    response.status = status;
    response.set_header(
        "Content-Security-Policy",
        "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'; connect-src 'self'");
    response.set_content(page, "text/html; charset=utf-8");
}

// The library bounds each wait for bytes, but not how long a client may drip them.
void closeOldConnections() {
    constexpr int descriptors = 4096;
    using Clock = std::chrono::steady_clock;
    std::map<std::pair<int, in_port_t>, Clock::time_point> open;
    while (true) {
        std::this_thread::sleep_for(1s);
        auto known = std::exchange(open, {});
        for (int descriptor = 0; descriptor < descriptors; ++descriptor) {
            sockaddr_in peer{};
            socklen_t size = sizeof peer;
            if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0) continue;
            auto found = known.find({descriptor, peer.sin_port});
            auto since = found == known.end() ? Clock::now() : found->second;
            open.emplace(std::pair(descriptor, peer.sin_port), since);
            if (Clock::now() - since > longestConnection) shutdown(descriptor, SHUT_RDWR);
        }
    }
}

std::string printable(std::string_view text) {
    std::string line;
    for (unsigned char byte : text) {
        if (byte >= ' ' && byte < 0x7f) {
            line.push_back(static_cast<char>(byte));
        } else {
            char code[5];
            std::snprintf(code, sizeof code, "\\x%02x", byte);
            line.append(code);
        }
    }
    return line;
}

}  // namespace

std::string logLine(const Request& request, const std::string& status) {
    std::ostringstream line;
    line << printable(request.method) << ' ' << printable(request.target) << ' ' << status << ' '
         << (request.account ? request.account->email : "-");
    if (!request.body.empty()) line << ' ' << printable(request.body.substr(0, longestLoggedBody));
    if (request.body.size() > longestLoggedBody) line << "...";
    return line.str();
}

Server::Server(const Options& options, const Accounts& accounts, std::ostream& log)
    : options_(options), accounts_(accounts), log_(log), http_(std::make_unique<httplib::Server>()) {}

Server::~Server() = default;

int Server::bind() {
    // Before the socket is made: its connections inherit it.
    http_->set_tcp_nodelay(true);
    int listener = -1;
    http_->set_socket_options([&](int socket) {
        // Not the library's SO_REUSEPORT, with which two servers would share a port unnoticed.
        int yes = 1;
        setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        listener = socket;
    });
    int port = options_.port;
    if (port == 0)
        port = http_->bind_to_any_port("127.0.0.1");
    else if (!http_->bind_to_port("127.0.0.1", port))
        return 0;
    // The library's backlog of 5 drops connections that come at once.
    ::listen(listener, SOMAXCONN);
    return std::max(port, 0);
}

void Server::serve(Service& service) {
    http_->new_task_queue = [] { return new httplib::ThreadPool(threads); };
    http_->set_keep_alive_max_count(std::numeric_limits<std::size_t>::max());
    http_->set_keep_alive_timeout(longestSilence.count());
    http_->set_payload_max_length(longestBody);
    http_->set_error_handler([](const httplib::Request&, httplib::Response& response) {
        if (response.body.empty()) setJson(response, refusal(response.status, "The server cannot take this request."));
    });
    http_->set_exception_handler([](const httplib::Request&, httplib::Response& response, std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const std::exception& error) {
            std::cerr << "tobrel-devserver: " << error.what() << '\n';
        }
        setJson(response, refusal(500, "The server failed."));
    });
    // Before the answer goes out, so that whoever has the answer finds the line.
    http_->set_post_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
        write(logLine(read(request), std::to_string(response.status)));
    });
    auto handler = [&](const httplib::Request& request, httplib::Response& response) {
        answer(request, response, service);
    };
    for (auto route : {&httplib::Server::Get, &httplib::Server::Delete}) (http_.get()->*route)("/[^]*", handler);
    http_->Post("/[^]*", handler);
    std::thread(closeOldConnections).detach();
    http_->listen_after_bind();
}

void Server::answer(const httplib::Request& request, httplib::Response& response, Service& service) {
    std::this_thread::sleep_for(options_.latency);
    for (const auto& prefix : options_.stalls) {
        if (!request.target.starts_with(prefix)) continue;
        write(logLine(read(request), "-"));
        std::this_thread::sleep_for(longestConnection);
    }
    for (const Fault& fault : options_.faults) {
        if ((fault.method != "*" && fault.method != request.method) || !request.target.starts_with(fault.prefix))
            continue;
        if (fault.sentence.empty())
            return setPage(response, fault.status, messagePage("Out of order", "This is not an answer."));
        return setJson(response, refusal(fault.status, fault.sentence));
    }
    if (request.target.starts_with("/tobrel/api/")) return setJson(response, service.answer(read(request)));
    answerPage(request, response, service);
}

void Server::answerPage(const httplib::Request& request, httplib::Response& response, Service& service) {
    constexpr std::string_view linkPath = "/tobrel/s/";
    if (request.path == "/tobrel/account/files") return setPage(response, 200, filesPage());
    if (request.path == "/tobrel/account/files.json") {
        std::string chosen = request.get_param_value("user");
        const Account* user = accounts_.withEmail(chosen.empty() ? options_.webUser : chosen);
        if (options_.webUser.empty()) user = nullptr;
        return setJson(response, user ? service.listing(*user, request.get_param_value("path"))
                                      : refusal(401, "Nobody is signed in here."));
    }
    if (request.path.starts_with(linkPath)) {
        auto content = service.linkContent(request.path.substr(linkPath.size()));
        if (content && content->live) return setPage(response, 200, linkPage(*content));
        if (content) return setPage(response, 410, messagePage("Link expired", "This link does not work any more."));
    }
    setPage(response, 404, messagePage("Not found", "There is no such page."));
}

Request Server::read(const httplib::Request& request) const {
    return {request.method, request.target, request.body, accounts_.withKey(request.get_header_value("X-API-Key"))};
}

void Server::write(const std::string& line) {
    std::lock_guard lock(logMutex_);
    log_ << line << '\n' << std::flush;
}

}  // namespace tobrel::devserver
