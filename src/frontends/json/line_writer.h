#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace tobrel {

// Writes whole lines to a descriptor that it does not close. Once the descriptor takes no more for good (closed, full,
// no reader), every later line is dropped.
class LineWriter {
public:
    explicit LineWriter(int descriptor) : descriptor_(descriptor) {}
    // Waits until a slow reader has taken what is left.
    ~LineWriter();
    LineWriter(const LineWriter&) = delete;
    LineWriter& operator=(const LineWriter&) = delete;

    // Any thread. Waits for a slow reader only while more than 16 MiB lie ready for it.
    void write(std::string line);

private:
    std::string_view writeWithoutWaiting(std::string_view text);
    void startThread();
    void writeBacklog();

    const int descriptor_;
    // Only where a reader is slow.
    std::thread thread_;

    std::mutex mutex_;
    std::condition_variable news_;
    std::condition_variable room_;
    // All guarded by mutex_.
    std::string backlog_;
    bool writingBacklog_ = false;
    bool failed_ = false;
    bool ending_ = false;
};

}  // namespace tobrel
