#include "platform/linux_online/http/curl_session.h"

#include <curl/curl.h>
#include <pthread.h>

#include <string.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "platform/linux_online/http/curl_loop.h"
#include "platform/linux_online/http/curl_transfer.h"
#include "platform/linux_online/memory/secret_memory.h"

namespace tobrel {
namespace {

// How many requests are under way at once, each on a connection of its own or all on one that carries many.
constexpr std::size_t mostAtOnce = 64;
// Further connections make nothing faster while the server answers at once.
constexpr std::size_t fewConnections = 16;
constexpr auto atOnce = std::chrono::milliseconds(30);
// Servers commonly close a connection after its thousandth request and refuse what is already on its way by then.
constexpr std::size_t mostRequestsAConnection = 900;

// Signals are the main thread's; a write to a closed connection is an error here and nothing more.
void blockSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

// What the worker thread keeps.
struct CurlURLSession::Worker {
    explicit Worker(CurlURLSession& session) : session_(session), loop_(*session.loop_) { loop_.renewConnections(); }

    void run() {
        while (startWaiting()) {
            loop_.turn(nextDeadline());
            while (auto ended = loop_.nextEnded()) finish(*ended->first, ended->second);
            expire();
        }
        for (CurlTransfer* transfer : active_) loop_.remove(*transfer);
        loop_.closeConnections();
    }

private:
    // The connection carries no further request; once it is quiet, another takes its place.
    bool leaving() const { return !common_.goodbyes.empty() || (sharedConnection_ && requestsLeft_ == 0); }

    bool isIdle() const { return active_.empty() && refused_.empty(); }

    std::size_t room() const {
        if (leaving()) return 0;
        std::size_t most = sharedConnection_ || slow_ ? mostAtOnce : fewConnections;
        std::size_t left = most - std::min(most, active_.size());
        return sharedConnection_ ? std::min(left, requestsLeft_) : left;
    }

    // A connection that carries many requests is left before the server closes it.
    void changeConnection() {
        if (!common_.goodbyes.empty()) {
            // What it could carry is known now; a server that has merely been restarted can carry more.
            auto taken = static_cast<std::size_t>(common_.goodbyes.begin()->second + 1) / 2;
            requestsAConnection_ = std::clamp<std::size_t>(taken, 1, mostRequestsAConnection);
        } else {
            requestsAConnection_ = std::min(2 * requestsAConnection_, mostRequestsAConnection);
        }
        loop_.renewConnections();
        common_.goodbyes.clear();
        requestsLeft_ = requestsAConnection_;
    }

    // False once the session ends.
    bool startWaiting() {
        auto now = CurlLoop::Clock::now();
        if (active_.empty()) {
            lastAnswer_ = now;
            slow_ = false;
        }
        slow_ |= moreWaiting_ && now >= lastAnswer_ + atOnce;
        if (active_.empty() && leaving()) changeConnection();
        for (; !refused_.empty() && room() > 0; refused_.pop_front()) drive(*refused_.front());
        std::list<HTTPTask> tasks;
        {
            std::lock_guard lock(session_.mutex_);
            if (session_.stopping_) return false;
            auto& waiting = session_.waiting_;
            auto end = std::next(waiting.begin(), static_cast<std::ptrdiff_t>(std::min(room(), waiting.size())));
            tasks.splice(tasks.begin(), waiting, waiting.begin(), end);
            moreWaiting_ = !waiting.empty();
            if (isIdle() && tasks.empty()) session_.headers_.reset();
        }
        // The headers hold the user's key, which does not stay in memory while a form waits for the user.
        if (isIdle() && tasks.empty())
            for (auto& transfer : transfers_) transfer->forgetHeaders();
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
        drive(transfer);
    }

    void drive(CurlTransfer& transfer) {
        loop_.add(transfer);
        active_.push_back(&transfer);
        if (requestsLeft_ > 0) --requestsLeft_;
    }

    CurlTransfer& idleTransfer() {
        if (idle_.empty()) {
            transfers_.push_back(std::make_unique<CurlTransfer>(common_));
            return *transfers_.back();
        }
        CurlTransfer& transfer = *idle_.back();
        idle_.pop_back();
        return transfer;
    }

    void finish(CurlTransfer& transfer, int result) {
        URLSessionAnswer answer;
        auto next = transfer.finish(result, answer);
        if (next == CurlTransfer::Next::goOn) return loop_.add(transfer);
        *std::find(active_.begin(), active_.end(), &transfer) = active_.back();
        active_.pop_back();
        if (next == CurlTransfer::Next::startOver) return refused_.push_back(&transfer);
        lastAnswer_ = CurlLoop::Clock::now();
        if (!answer.error) sharedConnection_ = transfer.sharesConnection();
        idle_.push_back(&transfer);
        deliver(transfer, std::move(answer));
    }

    void deliver(CurlTransfer& transfer, URLSessionAnswer answer) {
        auto completion = transfer.release();
        if (!session_.stopping_) completion(std::move(answer));
    }

    std::optional<CurlLoop::Clock::time_point> nextDeadline() const {
        std::optional<CurlLoop::Clock::time_point> next;
        if (moreWaiting_ && !slow_ && !sharedConnection_) next = lastAnswer_ + atOnce;
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
    CurlCommon common_;
    std::vector<std::unique_ptr<CurlTransfer>> transfers_;
    std::vector<CurlTransfer*> active_;
    std::vector<CurlTransfer*> idle_;
    // What a server has not taken in goes out again first.
    std::deque<CurlTransfer*> refused_;
    bool sharedConnection_ = false;
    CurlLoop::Clock::time_point lastAnswer_;
    bool moreWaiting_ = false;
    // Answers take long enough for more connections to be of use.
    bool slow_ = false;
    std::size_t requestsAConnection_ = mostRequestsAConnection;
    std::size_t requestsLeft_ = mostRequestsAConnection;
};

CurlURLSession::CurlURLSession() : loop_(std::make_unique<CurlLoop>()) {
    // The library would write the keys of all secure connections of this process to the file that it names.
    if (std::getenv("SSLKEYLOGFILE")) unsetenv("SSLKEYLOGFILE");
}

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
            curl_global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, wipingFree, wipingRealloc, strdup, std::calloc);
            Worker(*this).run();
        });
    } else if (waiting_.size() == 1) {
        loop_->wake();
    }
}

}  // namespace tobrel
