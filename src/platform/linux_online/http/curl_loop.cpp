#include "platform/linux_online/http/curl_loop.h"

#include <curl/curl.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>

#include "platform/linux_online/http/curl_transfer.h"

namespace tobrel {
namespace {

constexpr long mostConnections = 64;

}  // namespace

struct CurlLoop::Callbacks {
    static int socket(CURL*, curl_socket_t socket, int what, void* self, void*) {
        std::uint32_t wanted = 0;
        if (what == CURL_POLL_IN || what == CURL_POLL_INOUT) wanted |= EPOLLIN;
        if (what == CURL_POLL_OUT || what == CURL_POLL_INOUT) wanted |= EPOLLOUT;
        static_cast<CurlLoop*>(self)->watch(socket, wanted);
        return 0;
    }

    static int timer(CURLM*, long milliseconds, void* self) {
        auto& loop = *static_cast<CurlLoop*>(self);
        if (milliseconds < 0)
            loop.due_.reset();
        else
            loop.due_ = Clock::now() + std::chrono::milliseconds(milliseconds);
        return 0;
    }
};

void CurlLoop::Cleanup::operator()(void* multi) const {
    curl_multi_cleanup(multi);
}

CurlLoop::CurlLoop() : poll_(epoll_create1(EPOLL_CLOEXEC)), wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!poll_ || !wakeUp_) throw std::system_error(errno, std::generic_category());
    epoll_event event{.events = EPOLLIN, .data = {.fd = wakeUp_.number()}};
    epoll_ctl(poll_.number(), EPOLL_CTL_ADD, wakeUp_.number(), &event);
}

CurlLoop::~CurlLoop() = default;

void CurlLoop::renewConnections() {
    closeConnections();
    multi_.reset(curl_multi_init());
    if (!multi_) throw std::bad_alloc();
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &Callbacks::socket);
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &Callbacks::timer);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, mostConnections);
    // Left to itself, version 8 closes good connections whenever few requests are under way for a moment.
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, mostConnections);
}

void CurlLoop::closeConnections() {
    multi_.reset();
}

void CurlLoop::add(CurlTransfer& transfer) {
    curl_multi_add_handle(multi_.get(), transfer.handle());
}

void CurlLoop::remove(CurlTransfer& transfer) {
    curl_multi_remove_handle(multi_.get(), transfer.handle());
}

void CurlLoop::turn(std::optional<Clock::time_point> latest) {
    if (due_ && (!latest || *due_ < *latest)) latest = due_;
    int wait = -1;
    if (latest) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(*latest - Clock::now()).count();
        wait = static_cast<int>(std::clamp<long long>(left, 0, 60'000));
    }
    epoll_event events[64];
    int count = epoll_wait(poll_.number(), events, std::size(events), wait);
    for (int index = 0; index < count; ++index) happened(events[index].data.fd, events[index].events);
    if (due_ && *due_ <= Clock::now()) {
        due_.reset();
        int running = 0;
        curl_multi_socket_action(multi_.get(), CURL_SOCKET_TIMEOUT, 0, &running);
    }
}

void CurlLoop::happened(int socket, std::uint32_t events) {
    if (socket == wakeUp_.number()) {
        eventfd_t count = 0;
        eventfd_read(socket, &count);
        return;
    }
    int what = 0;
    if (events & (EPOLLIN | EPOLLHUP)) what |= CURL_CSELECT_IN;
    if (events & EPOLLOUT) what |= CURL_CSELECT_OUT;
    if (events & EPOLLERR) what |= CURL_CSELECT_ERR;
    int running = 0;
    curl_multi_socket_action(multi_.get(), socket, what, &running);
}

void CurlLoop::watch(int socket, std::uint32_t wanted) {
    auto index = static_cast<std::size_t>(socket);
    if (index >= watched_.size()) watched_.resize(index + 1);
    int change = wanted == 0 ? EPOLL_CTL_DEL : watched_[index] == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
    epoll_event event{.events = wanted, .data = {.fd = socket}};
    epoll_ctl(poll_.number(), change, socket, &event);
    watched_[index] = wanted;
}

std::optional<std::pair<CurlTransfer*, int>> CurlLoop::nextEnded() {
    int left = 0;
    while (CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        std::pair<CurlTransfer*, int> ended(nullptr, message->data.result);
        CURL* handle = message->easy_handle;
        curl_easy_getinfo(handle, CURLINFO_PRIVATE, &ended.first);
        curl_multi_remove_handle(multi_.get(), handle);
        return ended;
    }
    return std::nullopt;
}

void CurlLoop::wake() {
    eventfd_write(wakeUp_.number(), 1);
}

}  // namespace tobrel
