#include "frontends/json/line_writer.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "platform/file_descriptor.h"

namespace tobrel {

namespace {

constexpr std::size_t mostBacklog = 16 * 1024 * 1024;

bool isReady(int descriptor) {
    pollfd output = {descriptor, POLLOUT, 0};
    return poll(&output, 1, 0) > 0;
}

// Takes what has been written off the text. False: the descriptor takes no more for good.
bool writeSome(int descriptor, std::string_view& text) {
    // A pipe that is ready takes this much without waiting.
    ssize_t count = write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (count < 0) return errno == EINTR || errno == EAGAIN;
    text.remove_prefix(static_cast<std::size_t>(count));
    return true;
}

}  // namespace

LineWriter::~LineWriter() {
    {
        std::lock_guard lock(mutex_);
        ending_ = true;
    }
    news_.notify_one();
    if (thread_.joinable()) thread_.join();
}

void LineWriter::write(std::string line) {
    line += '\n';
    std::unique_lock lock(mutex_);
    room_.wait(lock, [this] { return failed_ || backlog_.size() <= mostBacklog; });
    std::string_view rest = line;
    if (backlog_.empty() && !writingBacklog_) rest = writeWithoutWaiting(rest);
    if (failed_ || rest.empty()) return;
    backlog_ += rest;
    if (!thread_.joinable()) startThread();
    news_.notify_one();
}

std::string_view LineWriter::writeWithoutWaiting(std::string_view text) {
    while (!text.empty() && !failed_ && isReady(descriptor_)) failed_ = !writeSome(descriptor_, text);
    return text;
}

void LineWriter::startThread() {
    try {
        thread_ = std::thread(&LineWriter::writeBacklog, this);
    } catch (const std::system_error&) {
        // No thread to be had: wait for the reader here.
        failed_ = !writeWhole(descriptor_, std::exchange(backlog_, {}));
    }
}

void LineWriter::writeBacklog() {
    std::unique_lock lock(mutex_);
    while (true) {
        news_.wait(lock, [this] { return !backlog_.empty() || ending_; });
        if (backlog_.empty()) return;
        std::string batch = std::exchange(backlog_, {});
        writingBacklog_ = true;
        lock.unlock();
        room_.notify_all();
        bool written = writeWhole(descriptor_, batch);
        lock.lock();
        writingBacklog_ = false;
        failed_ = !written;
        if (failed_) backlog_.clear();
        room_.notify_all();
    }
}

}  // namespace tobrel
