#include "support/http2_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>

namespace tobrel::testing {
namespace {

enum Type : unsigned char { data = 0, headers = 1, settings = 4, goodbye = 7 };
constexpr int prefaceSize = 24;

std::string number(unsigned value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string frame(Type type, char flags, unsigned stream, const std::string& payload) {
    std::string length = number(static_cast<unsigned>(payload.size())).substr(1);
    return length + static_cast<char>(type) + flags + number(stream) + payload;
}

}  // namespace

struct HTTP2Server::State {
    SSL_CTX* context = SSL_CTX_new(TLS_server_method());
    int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int port = 0;
    int most = 0;
    Leaving leaving{};
    std::atomic<int> takenIn = 0, seen = 0, accepted = 0;
    std::mutex mutex;
    std::set<int> sockets;
    std::vector<std::jthread> threads;
    std::jthread acceptor;

    void acceptAll() {
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        for (int socket; (socket = accept(listener, nullptr, nullptr)) >= 0; ++accepted) {
            std::lock_guard lock(mutex);
            sockets.insert(socket);
            threads.emplace_back([this, socket] { serve(socket); });
        }
    }

    void serve(int socket) {
        SSL* tls = SSL_new(context);
        SSL_set_fd(tls, socket);
        if (SSL_accept(tls) == 1) converse(tls, socket);
        SSL_free(tls);
        std::lock_guard lock(mutex);
        sockets.erase(socket);
        close(socket);
    }

    void converse(SSL* tls, int socket) {
        auto send = [&](const std::string& bytes) { SSL_write(tls, bytes.data(), static_cast<int>(bytes.size())); };
        send(frame(settings, 0, 0, ""));
        std::string received;
        char buffer[16384];
        int requests = 0;
        for (int size; (size = SSL_read(tls, buffer, sizeof buffer)) > 0;) {
            received.append(buffer, static_cast<std::size_t>(size));
            if (received.starts_with("PRI") && received.size() < prefaceSize) continue;
            if (received.starts_with("PRI")) received.erase(0, prefaceSize);
            auto byte = [&](int at) { return static_cast<unsigned char>(received[static_cast<std::size_t>(at)]); };
            while (received.size() >= 9) {
                std::size_t length = byte(0) << 16u | byte(1) << 8u | byte(2);
                if (received.size() < 9 + length) break;
                unsigned stream = byte(5) << 24u | byte(6) << 16u | byte(7) << 8u | byte(8);
                bool request = byte(3) == headers;
                if (byte(3) == settings && byte(4) == 0) send(frame(settings, 1, 0, ""));
                received.erase(0, 9 + length);
                if (!request) continue;
                ++seen;
                if (requests == most) continue;
                ++takenIn;
                bool last = ++requests == most;
                if (last && leaving == Leaving::rudely) return;
                if (last) send(frame(goodbye, 0, 0, number(stream) + number(0)));
                // The byte stands for status 200.
                send(frame(headers, 4, stream, "\x88") + frame(data, 1, stream, "{}"));
                if (last) shutdown(socket, SHUT_WR);
            }
        }
    }

    static int chooseProtocol(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char*, unsigned,
                              void*) {
        *chosen = reinterpret_cast<const unsigned char*>("h2");
        *size = 2;
        return SSL_TLSEXT_ERR_OK;
    }
};

HTTP2Server::HTTP2Server(const ServerCertificate& certificate, int requestsAConnection, Leaving leaving)
    : state_(std::make_unique<State>()) {
    state_->most = requestsAConnection;
    state_->leaving = leaving;
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    SSL_CTX_set_alpn_select_cb(state_->context, &State::chooseProtocol, nullptr);
    if (SSL_CTX_use_certificate_file(state_->context, certificate.certificateFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
        SSL_CTX_use_PrivateKey_file(state_->context, certificate.keyFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
        bind(state_->listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(state_->listener, 256) != 0 ||
        getsockname(state_->listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no HTTP/2 server");
    state_->port = ntohs(address.sin_port);
    state_->acceptor = std::jthread([state = state_.get()] { state->acceptAll(); });
}

HTTP2Server::~HTTP2Server() {
    shutdown(state_->listener, SHUT_RDWR);
    state_->acceptor.join();
    {
        std::lock_guard lock(state_->mutex);
        for (int socket : state_->sockets) shutdown(socket, SHUT_RDWR);
    }
    state_->threads.clear();
    close(state_->listener);
    SSL_CTX_free(state_->context);
}

std::string HTTP2Server::url(const std::string& target) const {
    return "https://localhost:" + std::to_string(state_->port) + target;
}
int HTTP2Server::requestsTakenIn() const {
    return state_->takenIn;
}
int HTTP2Server::requestsSeen() const {
    return state_->seen;
}
int HTTP2Server::connections() const {
    return state_->accepted;
}

}  // namespace tobrel::testing
