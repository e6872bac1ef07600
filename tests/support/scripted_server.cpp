#include "support/scripted_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

#include "support/program.h"

namespace tobrel::testing {
namespace {

struct Free {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    void operator()(SSL* session) const { SSL_free(session); }
};

// And its port on the loopback interface.
std::pair<int, int> boundSocket() {
    int made = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(made, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        getsockname(made, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no loopback port");
    return {made, ntohs(address.sin_port)};
}

// Takes one whole request from the front, where there is one. A TLS greeting in plain text counts as one.
std::optional<std::string> takeRequest(std::string& received) {
    if (received.starts_with('\x16')) return std::exchange(received, {});
    std::size_t head = received.find("\r\n\r\n");
    if (head == received.npos) return std::nullopt;
    std::string length = ScriptedServer::Request{received.substr(0, head + 4)}.header("Content-Length");
    std::size_t size = head + 4 + (length.empty() ? 0 : std::stoul(length));
    if (received.size() < size) return std::nullopt;
    std::string bytes = received.substr(0, size);
    received.erase(0, size);
    return bytes;
}

// One client, served by a thread of its own. Every wait ends when the socket is shut down.
class Connection {
public:
    Connection(int socket, SSL_CTX* context) : socket_(socket) {
        int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (!context) return;
        tls_.reset(SSL_new(context));
        SSL_set_fd(tls_.get(), socket);
        SSL_accept(tls_.get());
    }

    // Nothing once the client has left.
    std::optional<std::string> request() {
        for (;;) {
            if (auto bytes = takeRequest(received_)) return bytes;
            if (!receive()) return std::nullopt;
        }
    }

    // Whether the next step may follow.
    bool perform(const ServerStep& step) {
        switch (step.kind) {
            case ServerStep::Kind::send:
                return send(step.bytes);
            case ServerStep::Kind::sendForever:
                while (send(step.bytes)) continue;
                return false;
            case ServerStep::Kind::trickle:
                for (char byte : step.bytes) {
                    if (!send({&byte, 1})) return false;
                    std::this_thread::sleep_for(step.pause);
                }
                return true;
            case ServerStep::Kind::stall:
                while (receive()) continue;
                return false;
            case ServerStep::Kind::reset: {
                linger hard{.l_onoff = 1, .l_linger = 0};
                setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
                return false;
            }
            case ServerStep::Kind::close:
                return false;
        }
        return false;
    }

private:
    bool receive() {
        char buffer[65536];
        auto size = tls_ ? SSL_read(tls_.get(), buffer, sizeof buffer) : recv(socket_, buffer, sizeof buffer, 0);
        if (size > 0) received_.append(buffer, static_cast<std::size_t>(size));
        return size > 0;
    }
    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            auto sent = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                             : ::send(socket_, bytes.data(), bytes.size(), 0);
            if (sent <= 0) return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    int socket_;
    std::unique_ptr<SSL, Free> tls_;
    std::string received_;
};

}  // namespace

struct ScriptedServer::State {
    std::unique_ptr<SSL_CTX, Free> context;
    int listener = -1;
    int port = 0;

    std::mutex mutex;
    std::condition_variable changed;
    // Guarded by the mutex.
    std::map<std::string, ServerScript> scripts;
    std::vector<Request> requests;
    std::string offered;
    int accepted = 0;
    std::size_t most = 0;
    std::set<int> sockets;

    std::vector<std::jthread> connections;
    std::jthread acceptor;

    void acceptAll() {
        // Writing to a connection that the client has closed is part of the game.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        for (int socket; (socket = accept(listener, nullptr, nullptr)) >= 0;) {
            std::lock_guard lock(mutex);
            sockets.insert(socket);
            most = std::max(most, sockets.size());
            connections.emplace_back([this, socket, number = accepted++] { serve(socket, number); });
        }
    }

    void serve(int socket, int number) {
        {
            Connection connection(socket, context.get());
            bool open = true;
            while (open) {
                auto bytes = connection.request();
                if (!bytes) break;
                for (const ServerStep& step : scriptFor({std::move(*bytes), number}))
                    if (!(open = connection.perform(step))) break;
            }
        }
        std::lock_guard lock(mutex);
        sockets.erase(socket);
        close(socket);
    }

    ServerScript scriptFor(Request request) {
        std::lock_guard lock(mutex);
        requests.push_back(std::move(request));
        changed.notify_all();
        // A longer beginning of the same target comes later in the map.
        ServerScript found = {sends(answer(404, ""))};
        for (const auto& [target, script] : scripts)
            if (requests.back().target().starts_with(target)) found = script;
        return found;
    }

    static int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                              unsigned length, void* state) {
        auto& own = *static_cast<State*>(state);
        std::lock_guard lock(own.mutex);
        own.offered.clear();
        for (unsigned at = 0; at < length; at += offered[at] + 1u)
            own.offered.append(reinterpret_cast<const char*>(offered + at + 1), offered[at]).append(" ");
        *chosen = reinterpret_cast<const unsigned char*>("http/1.1");
        *size = 8;
        return SSL_TLSEXT_ERR_OK;
    }
};

SilentPort::SilentPort() {
    std::tie(socket_, number_) = boundSocket();
}

SilentPort::~SilentPort() {
    close(socket_);
}

ServerStep sends(std::string bytes) {
    return {ServerStep::Kind::send, std::move(bytes)};
}
ServerStep sendsForever(std::string bytes) {
    return {ServerStep::Kind::sendForever, std::move(bytes)};
}
ServerStep trickles(std::string bytes, std::chrono::milliseconds pause) {
    return {ServerStep::Kind::trickle, std::move(bytes), pause};
}
ServerStep stalls() {
    return {ServerStep::Kind::stall};
}
ServerStep closes() {
    return {ServerStep::Kind::close};
}
ServerStep resets() {
    return {ServerStep::Kind::reset};
}

std::string answer(int status, const std::string& body, const std::string& headers) {
    return "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ServerCertificate makeCertificate(const std::string& folder) {
    ServerCertificate made{folder + "/certificate.pem", folder + "/key.pem"};
    std::string words =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=localhost"
        " -addext subjectAltName=DNS:localhost -keyout";
    std::istringstream stream(words);
    std::vector<std::string> command{std::istream_iterator<std::string>(stream), {}};
    command.insert(command.end(), {made.keyFile, "-out", made.certificateFile});
    if (Ended ended = run(command); ended.status != 0) throw std::runtime_error("no certificate: " + ended.errors);
    return made;
}

ScriptedServer::ScriptedServer(const ServerCertificate* certificate) : state_(std::make_unique<State>()) {
    if (certificate) {
        state_->context.reset(SSL_CTX_new(TLS_server_method()));
        SSL_CTX* context = state_->context.get();
        if (SSL_CTX_use_certificate_file(context, certificate->certificateFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
            SSL_CTX_use_PrivateKey_file(context, certificate->keyFile.c_str(), SSL_FILETYPE_PEM) != 1)
            throw std::runtime_error("the certificate cannot be used");
        SSL_CTX_set_alpn_select_cb(context, &State::chooseProtocol, state_.get());
    }
    std::tie(state_->listener, state_->port) = boundSocket();
    if (listen(state_->listener, 256) != 0) throw std::runtime_error("nobody may listen");
    state_->acceptor = std::jthread([state = state_.get()] { state->acceptAll(); });
}

ScriptedServer::~ScriptedServer() {
    shutdown(state_->listener, SHUT_RDWR);
    state_->acceptor.join();
    {
        std::lock_guard lock(state_->mutex);
        for (int socket : state_->sockets) shutdown(socket, SHUT_RDWR);
    }
    state_->connections.clear();
    close(state_->listener);
}

void ScriptedServer::script(const std::string& target, ServerScript script) {
    std::lock_guard lock(state_->mutex);
    state_->scripts[target] = std::move(script);
}

std::string ScriptedServer::url(const std::string& target) const {
    return (state_->context ? "https://localhost:" : "http://127.0.0.1:") + std::to_string(state_->port) + target;
}

int ScriptedServer::port() const {
    return state_->port;
}

std::vector<ScriptedServer::Request> ScriptedServer::requests() const {
    std::lock_guard lock(state_->mutex);
    return state_->requests;
}

void ScriptedServer::waitForRequests(std::size_t count) const {
    std::unique_lock lock(state_->mutex);
    EXPECT_TRUE(
        state_->changed.wait_for(lock, std::chrono::seconds(10), [&] { return state_->requests.size() >= count; }));
}

int ScriptedServer::connectionsAccepted() const {
    std::lock_guard lock(state_->mutex);
    return state_->accepted;
}

int ScriptedServer::mostConnectionsAtOnce() const {
    std::lock_guard lock(state_->mutex);
    return static_cast<int>(state_->most);
}

std::string ScriptedServer::offeredProtocols() const {
    std::lock_guard lock(state_->mutex);
    return state_->offered;
}

std::string ScriptedServer::Request::method() const {
    return bytes.substr(0, bytes.find(' '));
}

std::string ScriptedServer::Request::target() const {
    std::size_t begin = bytes.find(' ') + 1;
    return bytes.substr(begin, bytes.find(' ', begin) - begin);
}

std::string ScriptedServer::Request::header(const std::string& name) const {
    std::istringstream head(bytes.substr(0, bytes.find("\r\n\r\n") + 2));
    std::string values;
    for (std::string line; std::getline(head, line);) {
        std::size_t colon = line.find(':');
        if (colon != name.size() || strncasecmp(line.c_str(), name.c_str(), colon) != 0) continue;
        std::size_t begin = std::min(line.find_first_not_of(' ', colon + 1), line.size() - 1);
        values += (values.empty() ? "" : ", ") + line.substr(begin, line.size() - 1 - begin);
    }
    return values;
}

std::string ScriptedServer::Request::body() const {
    return bytes.substr(bytes.find("\r\n\r\n") + 4);
}

}  // namespace tobrel::testing
