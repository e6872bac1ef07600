#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/file_descriptor.h"

namespace tobrel {

class CurlTransfer;

// Drives transfers over their connections, which they share. One thread, but for wake().
class CurlLoop {
public:
    using Clock = std::chrono::steady_clock;

    CurlLoop();
    ~CurlLoop();
    CurlLoop(const CurlLoop&) = delete;
    CurlLoop& operator=(const CurlLoop&) = delete;

    void add(CurlTransfer& transfer);
    void remove(CurlTransfer& transfer);
    // Waits until a transfer can go on, somebody wakes it or the time has come; then lets the transfers go on.
    void turn(std::optional<Clock::time_point> latest);
    // The next transfer that has ended, with the library's result. It is no longer driven.
    std::optional<std::pair<CurlTransfer*, int>> nextEnded();
    // Closes all connections; further ones may be made. Only while nothing is driven.
    void renewConnections();
    void closeConnections();
    void wake();

private:
    struct Callbacks;
    struct Cleanup {
        void operator()(void* multi) const;
    };

    void watch(int socket, std::uint32_t wanted);
    void happened(int socket, std::uint32_t events);

    const FileDescriptor poll_;
    const FileDescriptor wakeUp_;
    std::vector<std::uint32_t> watched_;
    std::optional<Clock::time_point> due_;
    std::unique_ptr<void, Cleanup> multi_;
};

}  // namespace tobrel
