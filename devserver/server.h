#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "devserver/accounts.h"
#include "devserver/options.h"
#include "devserver/service.h"

namespace httplib {
class Server;
struct Request;
struct Response;
}  // namespace httplib

namespace tobrel::devserver {

// One line of the request log, without its line break; harmless on a terminal, whatever the request held.
std::string logLine(const Request& request, const std::string& status);

// The service and the pages over HTTP/1.1 on the loopback interface.
class Server {
public:
    Server(const Options& options, const Accounts& accounts, std::ostream& log);
    ~Server();

    // The port that it listens on, or 0 when that cannot be had.
    int bind();
    // Answers until the process ends.
    void serve(Service& service);

private:
    void answer(const httplib::Request& request, httplib::Response& response, Service& service);
    void answerPage(const httplib::Request& request, httplib::Response& response, Service& service);
    Request read(const httplib::Request& request) const;
    void write(const std::string& line);

    const Options& options_;
    const Accounts& accounts_;
    std::ostream& log_;
    std::mutex logMutex_;
    std::unique_ptr<httplib::Server> http_;
};

}  // namespace tobrel::devserver
