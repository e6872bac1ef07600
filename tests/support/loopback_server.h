#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace tobrel::testing {

struct ServerCertificate {
    std::string certificateFile;
    std::string keyFile;
};
// Self-made, valid for "localhost" and these days, in two files of the folder.
ServerCertificate makeCertificate(const std::string& folder);

// A server on a loopback port, with a thread of its own for each connection.
class LoopbackServer {
public:
    // Every wait ends when the server is destroyed.
    class Connection {
    public:
        Connection(int socket, SSL_CTX* context);
        bool send(std::string_view bytes);
        // Appends what comes next; false once the client has left.
        bool receive(std::string& received);
        // Instead of an orderly end.
        void resetAtEnd();
        void endSending();

    private:
        int socket_;
        std::shared_ptr<SSL> tls_;
    };
    // A connection, counted from 0 in the order in which they were accepted, is closed once this returns.
    using Serve = std::function<void(Connection&, int number)>;

    // With a certificate over TLS, on which it may choose HTTP/2.
    LoopbackServer(const ServerCertificate* certificate, bool http2, Serve serve);
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    // With "127.0.0.1", over TLS with "localhost".
    std::string url(const std::string& target) const;
    int port() const { return port_; }
    int connectionsAccepted() const { return accepted_; }
    int mostConnectionsAtOnce() const { return most_; }

private:
    void acceptAll();

    const Serve serve_;
    std::shared_ptr<SSL_CTX> context_;
    int listener_, port_ = 0;
    std::atomic<int> accepted_ = 0, most_ = 0;
    std::mutex mutex_;
    std::set<int> sockets_;
    std::vector<std::jthread> connections_;
    std::jthread acceptor_;
};

}  // namespace tobrel::testing
