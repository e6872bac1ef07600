// Answers every request on a loopback port with the same small JSON object, as fast as one thread can. Prints its port.
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "http_answer.h"

namespace {

const std::string wholeAnswer = "HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: " +
                                std::to_string(tobrel::bench::answerText.size()) + "\r\n\r\n" +
                                std::string(tobrel::bench::answerText);

// Adds an answer for each request head that is complete, and keeps the rest.
std::string answers(std::string& received) {
    std::string out;
    std::size_t taken = 0;
    for (std::size_t end; (end = received.find("\r\n\r\n", taken)) != received.npos; taken = end + 4)
        out += wholeAnswer;
    received.erase(0, taken);
    return out;
}

void watch(int poll, int socket) {
    epoll_event event{.events = EPOLLIN, .data = {.fd = socket}};
    epoll_ctl(poll, EPOLL_CTL_ADD, socket, &event);
}

}  // namespace

int main() {
    int listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{.sin_family = AF_INET, .sin_addr = {htonl(INADDR_LOOPBACK)}};
    socklen_t length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener, 1024) != 0) return 1;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    std::printf("%d\n", ntohs(address.sin_port));
    std::fflush(stdout);

    int poll = epoll_create1(0);
    watch(poll, listener);
    std::vector<std::string> received;
    for (epoll_event events[64];;) {
        int count = epoll_wait(poll, events, 64, -1);
        for (int index = 0; index < count; ++index) {
            int ready = events[index].data.fd;
            if (ready == listener) {
                int connection = accept(listener, nullptr, nullptr);
                int on = 1;
                setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
                if (received.size() <= static_cast<std::size_t>(connection)) received.resize(connection + 1);
                watch(poll, connection);
                continue;
            }
            char buffer[16384];
            ssize_t size = recv(ready, buffer, sizeof buffer, 0);
            if (size <= 0) {
                received[ready].clear();
                close(ready);
                continue;
            }
            std::string out = answers(received[ready].append(buffer, size));
            if (!out.empty()) send(ready, out.data(), out.size(), MSG_NOSIGNAL);
        }
    }
}
