#include "platform/linux/file_provider/registry_workers.h"

#include <algorithm>
#include <system_error>
#include <utility>

namespace tobrel {

namespace {

constexpr std::size_t mostThreads = 4;
constexpr std::size_t mostInATurn = 16;

struct ThisThread {
    const RegistryWorkers* workers = nullptr;
    RegistryAccess* access = nullptr;
};
thread_local ThisThread thisThread;

}  // namespace

Outcome<const FileProviderRegistry::Snapshot*> RegistryAccess::snapshot() {
    if (!snapshot_) {
        auto snapshot = registry_->read();
        if (!snapshot) return snapshot.failure();
        snapshot_ = std::move(*snapshot);
        snapshotServesUpTo_ = postedSoFar_;
    }
    return std::as_const(snapshot_).get();
}

Outcome<const FileProviderRegistry::Snapshot*> RegistryAccess::newSnapshot() {
    endSnapshot();
    return snapshot();
}

FileProviderRegistry& RegistryAccess::registryForChange() {
    endSnapshot();
    return *registry_;
}

void RegistryAccess::beginJob(std::uint64_t number, std::uint64_t postedSoFar) {
    if (number > snapshotServesUpTo_) endSnapshot();
    postedSoFar_ = postedSoFar;
}

RegistryWorkers::RegistryWorkers(std::unique_ptr<FileProviderRegistry> first)
    : dataFolder_(first->dataFolder()), first_(std::move(first)) {}

void RegistryWorkers::post(Kind kind, Job job) {
    std::unique_lock lock(mutex_);
    if (stopped_) return;
    queue_.push_back({kind, ++posted_, std::move(job)});
    if (kind != Kind::lookUp) ++owed_;
    // A signal is worth no second thread: it mostly comes from a job that is about to end.
    bool worthAThread = kind != Kind::signal || threads_.empty();
    if (queue_.size() > idle_ && threads_.size() < mostThreads && worthAThread) {
        if (!startThread() && threads_.empty()) {
            RegistryAccess access(takeRegistry());
            runJobs(lock, access);
        }
    }
    wakeUp_.notify_one();
}

void RegistryWorkers::waitForSignals() {
    std::unique_lock lock(mutex_);
    settled_.wait(lock, [&] { return owed_ == 0 || stopped_; });
}

void RegistryWorkers::stop() {
    std::deque<Entry> dropped;
    std::vector<std::thread> threads;
    {
        std::lock_guard lock(mutex_);
        stopped_ = true;
        dropped.swap(queue_);
        threads.swap(threads_);
    }
    wakeUp_.notify_all();
    settled_.notify_all();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
}

RegistryAccess* RegistryWorkers::accessOfThisThread() const {
    return thisThread.workers == this ? thisThread.access : nullptr;
}

bool RegistryWorkers::startThread() {
    try {
        threads_.emplace_back([self = shared_from_this()] { self->work(); });
        return true;
    } catch (const std::system_error&) {
        return false;
    }
}

std::unique_ptr<FileProviderRegistry> RegistryWorkers::takeRegistry() {
    return first_ ? std::move(first_) : std::make_unique<FileProviderRegistry>(dataFolder_);
}

void RegistryWorkers::work() {
    std::unique_lock lock(mutex_);
    RegistryAccess access(takeRegistry());
    thisThread = {this, &access};
    while (!stopped_) {
        runJobs(lock, access);
        ++idle_;
        lock.unlock();
        access.endSnapshot();
        lock.lock();
        wakeUp_.wait(lock, [&] { return stopped_ || !queue_.empty(); });
        --idle_;
    }
    thisThread = {};
}

// Of many look-ups some together, since one takes little longer than the lock; but so few that every thread has some.
std::vector<RegistryWorkers::Entry> RegistryWorkers::takeTurn() {
    const auto most = static_cast<std::ptrdiff_t>(std::clamp<std::size_t>(queue_.size() / mostThreads, 1, mostInATurn));
    auto end =
        std::find_if(queue_.begin(), queue_.begin() + most, [](const Entry& e) { return e.kind != Kind::lookUp; });
    if (end == queue_.begin()) ++end;
    std::vector<Entry> turn(std::make_move_iterator(queue_.begin()), std::make_move_iterator(end));
    queue_.erase(queue_.begin(), end);
    return turn;
}

void RegistryWorkers::runJobs(std::unique_lock<std::mutex>& lock, RegistryAccess& access) {
    while (!queue_.empty() && !stopped_) {
        std::vector<Entry> turn = takeTurn();
        const Kind kind = turn.front().kind;
        const std::uint64_t postedSoFar = posted_;
        lock.unlock();
        for (Entry& entry : turn) {
            if (stopped_) break;
            access.beginJob(entry.number, postedSoFar);
            entry.job(access);
            // What the job held may end here, and with it the last use of these workers.
            entry.job = nullptr;
        }
        turn.clear();
        lock.lock();
        if (kind != Kind::lookUp && --owed_ == 0) settled_.notify_all();
    }
}

}  // namespace tobrel
