#pragma once

#include <memory>

#include "support/scripted_server.h"

namespace tobrel::testing {

// A server on a loopback port that speaks HTTP/2 over TLS, as far as answering requests with "{}" takes. It leaves a
// connection after so many requests.
class HTTP2Server {
public:
    enum class Leaving {
        // Says goodbye, takes in nothing more, answers what it has taken in and closes.
        politely,
        // Takes the last request in and closes without an answer to it.
        rudely,
    };
    HTTP2Server(const ServerCertificate& certificate, int requestsAConnection, Leaving leaving);
    ~HTTP2Server();
    HTTP2Server(const HTTP2Server&) = delete;
    HTTP2Server& operator=(const HTTP2Server&) = delete;

    std::string url(const std::string& target) const;
    // On all connections.
    int requestsTakenIn() const;
    int requestsSeen() const;
    int connections() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace tobrel::testing
