#pragma once

#include <chrono>
#include <condition_variable>
#include <map>

#include "support/loopback_server.h"

namespace tobrel::testing {

// What the server does after it has read a request, step by step; each tells whether the next may follow. Where all
// may, the connection stays open for the next request.
using ServerStep = std::function<bool(LoopbackServer::Connection&)>;
using ServerScript = std::vector<ServerStep>;

ServerStep sends(std::string bytes);
ServerStep sendsForever(std::string bytes);
// Byte by byte.
ServerStep trickles(std::string bytes, std::chrono::milliseconds pause);
// Does nothing until the client leaves.
ServerStep stalls();
ServerStep closes();
ServerStep resets();

// An answer with a Content-Length; each further header line ends in CR LF.
std::string answer(int status, const std::string& body, const std::string& headers = "");

// A server on a loopback port that does what a script says and records what it was sent.
class ScriptedServer {
public:
    struct Request {
        // Exactly as received, head and body.
        std::string bytes;
        int connection = 0;

        std::string method() const;
        std::string target() const;
        // The values of all headers of that name, each behind the other with ", " between; nothing for none.
        std::string header(const std::string& name) const;
        std::string body() const;
    };

    // With a certificate it speaks HTTP/1.1 over TLS.
    explicit ScriptedServer(const ServerCertificate* certificate = nullptr);

    // For every request whose target begins so; the longest beginning counts.
    void script(const std::string& target, ServerScript script);
    std::string url(const std::string& target = "/") const { return server_.url(target); }
    int port() const { return server_.port(); }

    std::vector<Request> requests() const;
    // Returns once so many requests have come; fails the test after ten seconds.
    void waitForRequests(std::size_t count) const;
    int connectionsAccepted() const { return server_.connectionsAccepted(); }
    int mostConnectionsAtOnce() const { return server_.mostConnectionsAtOnce(); }

private:
    ServerScript scriptFor(Request request);

    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::map<std::string, ServerScript> scripts_;
    std::vector<Request> requests_;
    // Ends before what its threads use.
    LoopbackServer server_;
};

// A server that speaks HTTP/2 over TLS, as far as answering requests with "{}" takes. It leaves a connection after so
// many requests.
class HTTP2Server {
public:
    enum class Leaving {
        // Says goodbye, takes in nothing more, answers what it has taken in and closes.
        politely,
        // Takes the last request in and closes without an answer to it.
        rudely,
    };
    HTTP2Server(const ServerCertificate& certificate, int requestsAConnection, Leaving leaving);

    std::string url(const std::string& target) const { return server_.url(target); }
    // On all connections.
    int requestsTakenIn() const { return takenIn_; }
    int requestsSeen() const { return seen_; }
    int connections() const { return server_.connectionsAccepted(); }

private:
    void converse(LoopbackServer::Connection& connection);

    const int most_;
    const Leaving leaving_;
    std::atomic<int> takenIn_ = 0, seen_ = 0;
    LoopbackServer server_;
};

}  // namespace tobrel::testing
