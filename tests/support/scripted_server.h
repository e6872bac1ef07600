#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace tobrel::testing {

// What the server does after it has read a request, step by step. Without a last step it keeps the connection open
// for the next request.
struct ServerStep {
    enum class Kind { send, sendForever, trickle, stall, close, reset };
    Kind kind;
    std::string bytes = {};
    // Between the bytes of a trickle.
    std::chrono::milliseconds pause{};
};
using ServerScript = std::vector<ServerStep>;

ServerStep sends(std::string bytes);
ServerStep sendsForever(std::string bytes);
ServerStep trickles(std::string bytes, std::chrono::milliseconds pause);
// Does nothing until the client leaves.
ServerStep stalls();
ServerStep closes();
ServerStep resets();

// An answer with a Content-Length; each further header line ends in CR LF.
std::string answer(int status, const std::string& body, const std::string& headers = "");

struct ServerCertificate {
    std::string certificateFile;
    std::string keyFile;
};
// Self-made, valid for "localhost" and these days, in two files of the folder.
ServerCertificate makeCertificate(const std::string& folder);

// A loopback port at which nobody listens, and which nobody else is given meanwhile.
class SilentPort {
public:
    SilentPort();
    ~SilentPort();
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    int number() const { return number_; }

private:
    int socket_, number_;
};

// A server on a loopback port that does what a script says and records what it was sent.
class ScriptedServer {
public:
    struct Request {
        // Exactly as received, head and body.
        std::string bytes;
        // Counted from 0 in the order in which they were accepted.
        int connection = 0;

        std::string method() const;
        std::string target() const;
        // The values of all headers of that name, each behind the other with ", " between; nothing for none.
        std::string header(const std::string& name) const;
        std::string body() const;
    };

    // With a certificate it speaks HTTP/1.1 over TLS.
    explicit ScriptedServer(const ServerCertificate* certificate = nullptr);
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    // For every request whose target begins so; the longest beginning counts.
    void script(const std::string& target, ServerScript script);
    // With "127.0.0.1", over TLS with "localhost".
    std::string url(const std::string& target = "/") const;
    int port() const;

    std::vector<Request> requests() const;
    // Returns once so many requests have come; fails the test after ten seconds.
    void waitForRequests(std::size_t count) const;
    int connectionsAccepted() const;
    int mostConnectionsAtOnce() const;
    // The protocols that the last TLS client offered, with a space behind each.
    std::string offeredProtocols() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tobrel::testing
