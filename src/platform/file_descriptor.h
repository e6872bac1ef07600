#pragma once

#include <unistd.h>

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

namespace tobrel {

// Owns an open file; -1 is none.
class FileDescriptor {
public:
    explicit FileDescriptor(int number = -1) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~FileDescriptor() {
        if (number_ >= 0) ::close(number_);
    }

    int number() const { return number_; }
    explicit operator bool() const { return number_ >= 0; }

private:
    int number_;
};

// Closed in programs that are started from here. Nothing where no more files may be open.
struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
};
std::optional<Pipe> openPipe();

// Writes all of it, also where the descriptor does not block. False where it takes no more for good (closed, full, no
// reader; errno says which), or nothing for as long as the patience lasts, which is for ever where none is given.
// SIGPIPE must be ignored.
bool writeWhole(int descriptor, std::string_view bytes, std::optional<std::chrono::milliseconds> patience = {});

}  // namespace tobrel
