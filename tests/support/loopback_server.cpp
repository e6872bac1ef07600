#include "support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "support/program.h"

namespace tobrel::testing {

ServerCertificate makeCertificate(const std::string& folder) {
    ServerCertificate made{folder + "/certificate.pem", folder + "/key.pem"};
    Ended ended = run({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                       "-days", "2", "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost", "-keyout",
                       made.keyFile, "-out", made.certificateFile});
    if (ended.status != 0) throw std::runtime_error("no certificate: " + ended.errors);
    return made;
}

LoopbackServer::Connection::Connection(int socket, SSL_CTX* context) : socket_(socket) {
    int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (!context) return;
    tls_.reset(SSL_new(context), SSL_free);
    SSL_set_fd(tls_.get(), socket);
    SSL_accept(tls_.get());
}

bool LoopbackServer::Connection::send(std::string_view bytes) {
    while (!bytes.empty()) {
        auto sent = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()))
                         : ::send(socket_, bytes.data(), bytes.size(), 0);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

bool LoopbackServer::Connection::receive(std::string& received) {
    char buffer[65536];
    auto size = tls_ ? SSL_read(tls_.get(), buffer, sizeof buffer) : recv(socket_, buffer, sizeof buffer, 0);
    if (size > 0) received.append(buffer, static_cast<std::size_t>(size));
    return size > 0;
}

void LoopbackServer::Connection::resetAtEnd() {
    linger hard{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
}

void LoopbackServer::Connection::endSending() {
    shutdown(socket_, SHUT_WR);
}

LoopbackServer::LoopbackServer(const ServerCertificate* certificate, bool http2, Serve serve)
    : serve_(std::move(serve)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    if (certificate) {
        context_.reset(SSL_CTX_new(TLS_server_method()), SSL_CTX_free);
        if (SSL_CTX_use_certificate_file(context_.get(), certificate->certificateFile.c_str(), SSL_FILETYPE_PEM) != 1 ||
            SSL_CTX_use_PrivateKey_file(context_.get(), certificate->keyFile.c_str(), SSL_FILETYPE_PEM) != 1)
            throw std::runtime_error("the certificate cannot be used");
    }
    auto choose = [](SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char*, unsigned, void*) {
        *chosen = reinterpret_cast<const unsigned char*>("h2");
        *size = 2;
        return SSL_TLSEXT_ERR_OK;
    };
    if (http2) SSL_CTX_set_alpn_select_cb(context_.get(), choose, nullptr);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 256) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no loopback port");
    port_ = ntohs(address.sin_port);
    acceptor_ = std::jthread([this] { acceptAll(); });
}

LoopbackServer::~LoopbackServer() {
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    {
        std::lock_guard lock(mutex_);
        for (int socket : sockets_) shutdown(socket, SHUT_RDWR);
    }
    connections_.clear();
    close(listener_);
}

std::string LoopbackServer::url(const std::string& target) const {
    return (context_ ? "https://localhost:" : "http://127.0.0.1:") + std::to_string(port_) + target;
}

void LoopbackServer::acceptAll() {
    // Writing to a connection that the client has closed is part of the game.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    for (int socket; (socket = accept(listener_, nullptr, nullptr)) >= 0;) {
        std::lock_guard lock(mutex_);
        sockets_.insert(socket);
        most_ = std::max(most_.load(), static_cast<int>(sockets_.size()));
        connections_.emplace_back([this, socket, number = accepted_++] {
            {
                Connection connection(socket, context_.get());
                serve_(connection, number);
            }
            std::lock_guard ending(mutex_);
            sockets_.erase(socket);
            close(socket);
        });
    }
}

}  // namespace tobrel::testing
