#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/linux/file_provider/registry.h"

namespace tobrel {

// A worker's own way into the registry. Jobs that queue up share one snapshot, which is never older than the last of
// them.
class RegistryAccess {
public:
    explicit RegistryAccess(std::unique_ptr<FileProviderRegistry> registry) : registry_(std::move(registry)) {}

    Outcome<const FileProviderRegistry::Snapshot*> snapshot();
    // The same, as of now.
    Outcome<const FileProviderRegistry::Snapshot*> newSnapshot();
    FileProviderRegistry& registryForChange();

private:
    friend class RegistryWorkers;
    void beginJob(std::uint64_t number, std::uint64_t postedSoFar);
    void endSnapshot() { snapshot_.reset(); }

    const std::unique_ptr<FileProviderRegistry> registry_;
    std::unique_ptr<FileProviderRegistry::Snapshot> snapshot_;
    std::uint64_t postedSoFar_ = 0;
    std::uint64_t snapshotServesUpTo_ = 0;
};

// A few threads that look things up in the registry, each with a connection of its own. The first starts with the first
// job, further ones while jobs wait. Lives in a shared pointer, which its threads hold too. Any thread.
class RegistryWorkers : public std::enable_shared_from_this<RegistryWorkers> {
public:
    using Job = std::function<void(RegistryAccess&)>;
    enum class Kind { lookUp, domainList, signal };

    // The first thread takes over the registry given here.
    explicit RegistryWorkers(std::unique_ptr<FileProviderRegistry> first);

    // Never waits. After stop() the job is dropped.
    void post(Kind kind, Job job);
    // Until no domain list and no signal is outstanding. Not from a job.
    void waitForSignals();
    // Drops what has not begun and waits for what has, unless it is the caller itself. May be called from a job.
    void stop();

    const std::string& dataFolder() const { return dataFolder_; }
    // The calling thread's, where it is one of these workers.
    RegistryAccess* accessOfThisThread() const;

private:
    struct Entry {
        Kind kind;
        std::uint64_t number;
        Job job;
    };
    bool startThread();
    void work();
    std::unique_ptr<FileProviderRegistry> takeRegistry();
    std::vector<Entry> takeTurn();
    void runJobs(std::unique_lock<std::mutex>& lock, RegistryAccess& access);

    const std::string dataFolder_;
    std::mutex mutex_;
    // Changed under the lock.
    std::atomic<bool> stopped_ = false;
    // All below are guarded by it.
    std::condition_variable wakeUp_;
    std::condition_variable settled_;
    std::unique_ptr<FileProviderRegistry> first_;
    std::deque<Entry> queue_;
    std::vector<std::thread> threads_;
    std::size_t idle_ = 0;
    // Domain lists and signals: what the process must not end before.
    std::size_t owed_ = 0;
    std::uint64_t posted_ = 0;
};

}  // namespace tobrel
