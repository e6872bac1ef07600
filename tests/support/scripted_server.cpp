#include "support/scripted_server.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <optional>
#include <sstream>
#include <utility>

namespace tobrel::testing {
namespace {

using Connection = LoopbackServer::Connection;

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

// The kinds of frames of HTTP/2.
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

ServerStep sends(std::string bytes) {
    return [bytes](Connection& connection) { return connection.send(bytes); };
}
ServerStep sendsForever(std::string bytes) {
    return [bytes](Connection& connection) {
        while (connection.send(bytes)) continue;
        return false;
    };
}
ServerStep trickles(std::string bytes, std::chrono::milliseconds pause) {
    return [=](Connection& connection) {
        for (char byte : bytes) {
            if (!connection.send({&byte, 1})) return false;
            std::this_thread::sleep_for(pause);
        }
        return true;
    };
}
ServerStep stalls() {
    return [](Connection& connection) {
        for (std::string ignored; connection.receive(ignored);) continue;
        return false;
    };
}
ServerStep closes() {
    return [](Connection&) { return false; };
}
ServerStep resets() {
    return [](Connection& connection) {
        connection.resetAtEnd();
        return false;
    };
}

std::string answer(int status, const std::string& body, const std::string& headers) {
    return "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

ScriptedServer::ScriptedServer(const ServerCertificate* certificate)
    : server_(certificate, false, [this](Connection& connection, int number) {
          std::string received;
          while (true) {
              auto bytes = takeRequest(received);
              if (!bytes && !connection.receive(received)) return;
              if (!bytes) continue;
              for (const ServerStep& step : scriptFor({std::move(*bytes), number}))
                  if (!step(connection)) return;
          }
      }) {}

void ScriptedServer::script(const std::string& target, ServerScript script) {
    std::lock_guard lock(mutex_);
    scripts_[target] = std::move(script);
}

ServerScript ScriptedServer::scriptFor(Request request) {
    std::lock_guard lock(mutex_);
    requests_.push_back(std::move(request));
    changed_.notify_all();
    // A longer beginning of the same target comes later in the map.
    ServerScript found = {sends(answer(404, ""))};
    for (const auto& [target, script] : scripts_)
        if (requests_.back().target().starts_with(target)) found = script;
    return found;
}

std::vector<ScriptedServer::Request> ScriptedServer::requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

void ScriptedServer::waitForRequests(std::size_t count) const {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, std::chrono::seconds(10), [&] { return requests_.size() >= count; }));
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

HTTP2Server::HTTP2Server(const ServerCertificate& certificate, int requestsAConnection, Leaving leaving)
    : most_(requestsAConnection),
      leaving_(leaving),
      server_(&certificate, true, [this](Connection& connection, int) { converse(connection); }) {}

void HTTP2Server::converse(Connection& connection) {
    connection.send(frame(settings, 0, 0, ""));
    int requests = 0;
    for (std::string received; connection.receive(received);) {
        if (received.starts_with("PRI") && received.size() < prefaceSize) continue;
        if (received.starts_with("PRI")) received.erase(0, prefaceSize);
        auto byte = [&](std::size_t at) { return static_cast<unsigned char>(received[at]); };
        while (received.size() >= 9) {
            std::size_t length = byte(0) << 16u | byte(1) << 8u | byte(2);
            if (received.size() < 9 + length) break;
            unsigned stream = byte(5) << 24u | byte(6) << 16u | byte(7) << 8u | byte(8);
            bool request = byte(3) == headers;
            if (byte(3) == settings && byte(4) == 0) connection.send(frame(settings, 1, 0, ""));
            received.erase(0, 9 + length);
            if (!request) continue;
            ++seen_;
            if (requests == most_) continue;
            ++takenIn_;
            bool last = ++requests == most_;
            if (last && leaving_ == Leaving::rudely) return;
            if (last) connection.send(frame(goodbye, 0, 0, number(stream) + number(0)));
            // The byte stands for status 200.
            connection.send(frame(headers, 4, stream, "\x88") + frame(data, 1, stream, "{}"));
            if (last) connection.endSending();
        }
    }
}

}  // namespace tobrel::testing
