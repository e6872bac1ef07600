#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tobrel {

// Reads a file from its beginning.
class FileReader {
public:
    virtual ~FileReader() = default;
    // The number of bytes read, 0 at the end; nothing on a read error.
    virtual std::optional<std::size_t> read(std::span<char> buffer) = 0;
};

// The future content of a file, kept beside it until commit; destroyed without commit, it leaves no trace.
class FileReplacement {
public:
    virtual ~FileReplacement() = default;
    virtual bool write(std::string_view bytes) = 0;
    // Drops what has been written so far.
    virtual bool restart() = 0;
    // Flushes the content to the disk and lets it take the file's place in one step, with the replaced file's mode
    // (0600 for a new file). On false the old file is untouched. At most once.
    virtual bool commit() = 0;
};

// Held until destroyed.
class FolderLock {
public:
    virtual ~FolderLock() = default;
};

// Synchronous, on any thread.
class Files {
public:
    virtual ~Files() = default;
    // Null where there is no readable regular file; never waits for a peer (a FIFO, a device).
    virtual std::unique_ptr<FileReader> open(const std::string& path) = 0;
    // Null where the file's folder takes no new file.
    virtual std::unique_ptr<FileReplacement> replace(const std::string& path) = 0;
    // With its parents; what is created gets the mode, what exists keeps its own.
    virtual bool createFolder(const std::string& path, unsigned mode) = 0;
    // An advisory lock between processes on one file of a folder. Null where there is none to be had, or where its
    // holder has made no progress (replaced the file) for some seconds.
    virtual std::unique_ptr<FolderLock> lock(const std::string& path) = 0;
};

// The whole file, or nothing where it cannot be read or is larger than the limit.
std::optional<std::string> readWhole(Files& files, const std::string& path, std::size_t limit);

}  // namespace tobrel
