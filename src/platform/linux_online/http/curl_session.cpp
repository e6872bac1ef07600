#include "platform/linux_online/http/curl_session.h"

#include <curl/curl.h>
#include <pthread.h>

#include <algorithm>
#include <csignal>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux_online/http/curl_loop.h"
#include "platform/linux_online/http/curl_transfer.h"
#include "platform/linux_online/http/curl_trust.h"

namespace tobrel {
namespace {

// As many requests are under way at once as there are connections, or streams on a connection that carries many.
constexpr std::size_t kConnections = 16;
constexpr std::size_t kStreams = 64;
// Servers commonly close a connection after its thousandth request and refuse what is already on its way by then.
constexpr std::size_t kMostRequestsAConnection = 900;

struct ShareCleanup {
    void operator()(CURLSH* share) const { curl_share_cleanup(share); }
};
using Share = std::unique_ptr<CURLSH, ShareCleanup>;

Share cookiesAndTLSSessions() {
    Share share(curl_share_init());
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_COOKIE);
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    return share;
}

// Signals are the main thread's; a write to a closed connection is an error here and nothing more.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

// What the worker thread keeps.
struct CurlURLSession::Worker {
    explicit Worker(CurlURLSession& session) : session_(session), loop_(*session.loop_) {}

    void run() {
        while (startWaiting()) {
            loop_.turn(nextDeadline());
            while (auto ended = loop_.nextEnded()) finish(ended->first, ended->second);
            expire();
        }
        for (CurlTransfer* transfer : active_) loop_.remove(*transfer);
        loop_.closeConnections();
    }

private:
    std::size_t room() const {
        if (sharedConnection_ && started_ >= kMostRequestsAConnection) return 0;
        std::size_t most = sharedConnection_ ? kStreams : kConnections;
        return most - std::min(most, active_.size());
    }

    // False once the session ends.
    bool startWaiting() {
        if (active_.empty() && sharedConnection_ && started_ >= kMostRequestsAConnection) {
            loop_.closeConnections();
            started_ = 0;
        }
        std::list<HTTPTask> tasks;
        {
            std::lock_guard lock(session_.mutex_);
            if (session_.stopping_) return false;
            auto& waiting = session_.waiting_;
            auto end = std::next(waiting.begin(), static_cast<std::ptrdiff_t>(std::min(room(), waiting.size())));
            tasks.splice(tasks.begin(), waiting, waiting.begin(), end);
            if (waiting.empty()) session_.headers_.reset();
        }
        for (HTTPTask& task : tasks) start(std::move(task));
        return true;
    }

    void start(HTTPTask task) {
        CurlTransfer& transfer = idleTransfer();
        if (auto error = transfer.prepare(std::move(task))) {
            idle_.push_back(&transfer);
            deliver(transfer, URLSessionAnswer{.error = std::move(error)});
            return;
        }
        loop_.add(transfer);
        active_.push_back(&transfer);
        ++started_;
    }

    CurlTransfer& idleTransfer() {
        if (idle_.empty()) {
            transfers_.push_back(std::make_unique<CurlTransfer>(trust_, share_.get()));
            return *transfers_.back();
        }
        CurlTransfer& transfer = *idle_.back();
        idle_.pop_back();
        return transfer;
    }

    void finish(void* handle, int result) {
        auto found = std::find_if(active_.begin(), active_.end(),
                                  [&](CurlTransfer* transfer) { return transfer->handle() == handle; });
        CurlTransfer& transfer = **found;
        auto answer = transfer.finish(result);
        if (!answer) {
            loop_.add(transfer);
            return;
        }
        if (!answer->error) sharedConnection_ = transfer.sharesConnection();
        *found = active_.back();
        active_.pop_back();
        idle_.push_back(&transfer);
        deliver(transfer, std::move(*answer));
    }

    void deliver(CurlTransfer& transfer, URLSessionAnswer answer) {
        auto completion = transfer.release();
        if (!session_.stopping_) completion(std::move(answer));
    }

    std::optional<CurlLoop::Clock::time_point> nextDeadline() const {
        std::optional<CurlLoop::Clock::time_point> next;
        for (CurlTransfer* transfer : active_)
            if (!next || transfer->deadline() < *next) next = transfer->deadline();
        return next;
    }

    void expire() {
        auto now = CurlLoop::Clock::now();
        for (std::size_t index = 0; index < active_.size();) {
            CurlTransfer& transfer = *active_[index];
            if (transfer.deadline() > now) {
                ++index;
                continue;
            }
            loop_.remove(transfer);
            active_[index] = active_.back();
            active_.pop_back();
            idle_.push_back(&transfer);
            deliver(transfer, transfer.timedOut());
        }
    }

    CurlURLSession& session_;
    CurlLoop& loop_;
    CurlTrust trust_ = trustedCertificates();
    Share share_ = cookiesAndTLSSessions();
    std::vector<std::unique_ptr<CurlTransfer>> transfers_;
    std::vector<CurlTransfer*> active_;
    std::vector<CurlTransfer*> idle_;
    bool sharedConnection_ = false;
    std::size_t started_ = 0;
};

CurlURLSession::CurlURLSession() : loop_(std::make_unique<CurlLoop>()) {}

CurlURLSession::~CurlURLSession() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    loop_->wake();
    if (thread_.joinable()) thread_.join();
    waiting_.clear();
}

void CurlURLSession::dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) {
    std::lock_guard lock(mutex_);
    if (stopping_) return;
    // The lookups of one selection come by the thousand and differ in nothing but their address.
    if (!headers_ || *headers_ != request.headers)
        headers_ = std::make_shared<const HTTPHeaders>(std::move(request.headers));
    request.headers = HTTPHeaders();
    request.url.shrink_to_fit();
    waiting_.push_back({std::move(request), headers_, std::move(completion)});
    if (!thread_.joinable()) {
        thread_ = std::thread([this] {
            blockSignals();
            curl_global_init(CURL_GLOBAL_DEFAULT);
            Worker(*this).run();
        });
    } else if (waiting_.size() == 1) {
        loop_->wake();
    }
}

}  // namespace tobrel
