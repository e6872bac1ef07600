#include "support/scripted_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <strings.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tobrel::testing {
namespace {

using Clock = std::chrono::steady_clock;

struct FreeContext {
    void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
};
struct FreeSession {
    void operator()(SSL* session) const { SSL_free(session); }
};

class Connection {
public:
    Connection(int socket, int number, SSL_CTX* context) : number(number), socket_(socket), tls_(nullptr) {
        int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (!context) return;
        timeval patience{.tv_sec = 5};
        setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        tls_.reset(SSL_new(context));
        SSL_set_fd(tls_.get(), socket);
        if (SSL_accept(tls_.get()) != 1) ended = true;
    }
    ~Connection() { close(socket_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int socket() const { return socket_; }
    bool hasMore() const { return tls_ && SSL_pending(tls_.get()) > 0; }

    void receive() {
        char buffer[65536];
        auto size = tls_ ? SSL_read(tls_.get(), buffer, sizeof buffer)
                         : static_cast<int>(recv(socket_, buffer, sizeof buffer, 0));
        if (size <= 0)
            ended = true;
        else
            received.append(buffer, static_cast<std::size_t>(size));
    }

    // How much could be sent without waiting; an ended connection takes nothing.
    std::size_t send(const char* bytes, std::size_t size) {
        auto sent = tls_ ? SSL_write(tls_.get(), bytes, static_cast<int>(size))
                         : ::send(socket_, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) return static_cast<std::size_t>(sent);
        if (tls_ || errno != EAGAIN) ended = true;
        return 0;
    }

    void reset() {
        linger hard{.l_onoff = 1, .l_linger = 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
        ended = true;
    }

    int number;
    std::string received;
    ServerScript steps;
    std::size_t step = 0;
    std::size_t sent = 0;
    Clock::time_point resume{};
    bool ended = false;

private:
    int socket_;
    std::unique_ptr<SSL, FreeSession> tls_;
};

// Takes one whole request from the front, where there is one. A TLS greeting in plain text counts as one.
std::optional<std::string> takeRequest(std::string& received) {
    if (received.starts_with('\x16')) return std::exchange(received, {});
    std::size_t head = received.find("\r\n\r\n");
    if (head == received.npos) return std::nullopt;
    ScriptedServer::Request request{received.substr(0, head + 4)};
    std::string length = request.header("Content-Length");
    std::size_t size = head + 4 + (length.empty() ? 0 : std::stoul(length));
    if (received.size() < size) return std::nullopt;
    std::string bytes = received.substr(0, size);
    received.erase(0, size);
    return bytes;
}

int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                   unsigned length, void* names) {
    static_cast<std::string*>(names)->clear();
    for (unsigned at = 0; at < length; at += offered[at] + 1u)
        *static_cast<std::string*>(names) +=
            std::string(reinterpret_cast<const char*>(offered + at + 1), offered[at]) + " ";
    *chosen = reinterpret_cast<const unsigned char*>("http/1.1");
    *size = 8;
    return SSL_TLSEXT_ERR_OK;
}

}  // namespace

struct ScriptedServer::State {
    std::unique_ptr<SSL_CTX, FreeContext> context;
    int listener = -1;
    int wake = -1;
    int port = 0;
    std::atomic<bool> stopping = false;
    std::thread thread;

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    // Guarded by the mutex.
    std::map<std::string, ServerScript> scripts;
    std::vector<Request> requests;
    std::string offered;
    int accepted = 0;
    std::size_t most = 0;

    // Worker thread only.
    std::vector<std::unique_ptr<Connection>> connections;

    void run() {
        // Writing to a connection that the client has closed is part of the game.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        while (!stopping) {
            auto until = Clock::now() + std::chrono::hours(1);
            std::vector<pollfd> watched = {{wake, POLLIN, 0}, {listener, POLLIN, 0}};
            for (auto& connection : connections)
                watched.push_back({connection->socket(), events(*connection, until), 0});
            auto wait = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
            poll(watched.data(), watched.size(), static_cast<int>(std::max<long long>(wait, 0)));
            for (std::size_t index = 0; index < connections.size(); ++index) {
                Connection& connection = *connections[index];
                if (watched[index + 2].revents & (POLLIN | POLLHUP | POLLERR)) connection.receive();
                while (connection.hasMore() && !connection.ended) connection.receive();
                advance(connection);
            }
            std::erase_if(connections, [](auto& connection) { return connection->ended; });
            if (watched[1].revents & POLLIN) acceptOne();
        }
    }

    static short events(const Connection& connection, Clock::time_point& until) {
        if (connection.step == connection.steps.size()) return POLLIN;
        auto kind = connection.steps[connection.step].kind;
        if (kind == ServerStep::Kind::trickle) until = std::min(until, connection.resume);
        bool writes = kind == ServerStep::Kind::send || kind == ServerStep::Kind::sendForever;
        return writes ? POLLIN | POLLOUT : POLLIN;
    }

    void acceptOne() {
        int socket = accept(listener, nullptr, nullptr);
        if (socket < 0) return;
        int number = 0;
        {
            std::lock_guard lock(mutex);
            number = accepted++;
        }
        connections.push_back(std::make_unique<Connection>(socket, number, context.get()));
        std::lock_guard lock(mutex);
        most = std::max(most, connections.size());
    }

    void advance(Connection& connection) {
        while (!connection.ended) {
            if (connection.step == connection.steps.size()) {
                auto request = takeRequest(connection.received);
                if (!request) return;
                begin(connection, std::move(*request));
            } else if (!perform(connection, connection.steps[connection.step])) {
                return;
            } else {
                ++connection.step;
                connection.sent = 0;
            }
        }
    }

    void begin(Connection& connection, std::string bytes) {
        std::lock_guard lock(mutex);
        requests.push_back({std::move(bytes), connection.number});
        changed.notify_all();
        connection.step = connection.sent = 0;
        connection.resume = Clock::now();
        connection.steps = {sends(answer(404, ""))};
        std::size_t longest = 0;
        for (const auto& [target, script] : scripts) {
            if (!requests.back().target().starts_with(target) || target.size() < longest) continue;
            longest = target.size();
            connection.steps = script;
        }
    }

    // Whether the step has been done.
    static bool perform(Connection& connection, const ServerStep& step) {
        const char* left = step.bytes.data() + connection.sent;
        std::size_t size = step.bytes.size() - connection.sent;
        switch (step.kind) {
            case ServerStep::Kind::send:
                connection.sent += connection.send(left, size);
                break;
            case ServerStep::Kind::sendForever:
                connection.sent = (connection.sent + connection.send(left, size)) % step.bytes.size();
                return false;
            case ServerStep::Kind::trickle:
                if (Clock::now() < connection.resume) return false;
                connection.sent += connection.send(left, 1);
                connection.resume = Clock::now() + step.pause;
                break;
            case ServerStep::Kind::stall:
                return false;
            case ServerStep::Kind::close:
                connection.ended = true;
                return false;
            case ServerStep::Kind::reset:
                connection.reset();
                return false;
        }
        return connection.sent == step.bytes.size();
    }
};

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
    std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=localhost"
        " -addext subjectAltName=DNS:localhost -keyout " +
        made.keyFile + " -out " + made.certificateFile + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) throw std::runtime_error("openssl made no certificate");
    return made;
}

ScriptedServer::ScriptedServer(const ServerCertificate* certificate) : state_(std::make_unique<State>()) {
    if (certificate) {
        state_->context.reset(SSL_CTX_new(TLS_server_method()));
        SSL_CTX* context = state_->context.get();
        if (SSL_CTX_use_certificate_file(context, certificate->certificateFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
            SSL_CTX_use_PrivateKey_file(context, certificate->keyFile.c_str(), SSL_FILETYPE_PEM) != 1)
            throw std::runtime_error("the certificate cannot be used");
        SSL_CTX_set_alpn_select_cb(context, &chooseProtocol, &state_->offered);
    }
    state_->wake = eventfd(0, EFD_CLOEXEC);
    state_->listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(state_->listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(state_->listener, 256) != 0 ||
        getsockname(state_->listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no loopback port");
    state_->port = ntohs(address.sin_port);
    state_->thread = std::thread([state = state_.get()] { state->run(); });
}

ScriptedServer::~ScriptedServer() {
    state_->stopping = true;
    eventfd_write(state_->wake, 1);
    state_->thread.join();
    close(state_->wake);
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
    std::string values;
    std::size_t end = bytes.find("\r\n\r\n");
    for (std::size_t line = bytes.find("\r\n") + 2; line < end;) {
        std::size_t next = bytes.find("\r\n", line);
        std::size_t colon = bytes.find(':', line);
        if (colon < next && colon - line == name.size() &&
            strncasecmp(bytes.data() + line, name.data(), name.size()) == 0) {
            std::size_t value = std::min(bytes.find_first_not_of(' ', colon + 1), next);
            values += (values.empty() ? "" : ", ") + bytes.substr(value, next - value);
        }
        line = next + 2;
    }
    return values;
}

std::string ScriptedServer::Request::body() const {
    return bytes.substr(bytes.find("\r\n\r\n") + 4);
}

}  // namespace tobrel::testing
