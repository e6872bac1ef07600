#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tobrel {

// Tells what stands under a name from what stood there before. By default: nothing stands there.
struct FileState {
    std::array<std::uint64_t, 5> numbers{};
    bool operator==(const FileState&) const = default;
};

// Reads a file from its beginning.
class FileReader {
public:
    virtual ~FileReader() = default;
    // The number of bytes read, 0 at the end; nothing on a read error.
    virtual std::optional<std::size_t> read(std::span<char> buffer) = 0;
    // Goes back to the beginning.
    virtual bool restart() = 0;
};

// The future content of a file, kept beside it until commit or exchange; destroyed without, it leaves no trace.
class FileReplacement {
public:
    virtual ~FileReplacement() = default;
    virtual bool write(std::string_view bytes) = 0;
    // Drops what has been written so far.
    virtual bool restart() = 0;
    // Flushes the content to the disk and lets it take the file's place in one step, with the replaced file's mode
    // (0600 for a new file). On false the old file is untouched. At most once.
    virtual bool commit() = 0;

    // failed: nothing has changed. changed: nothing has changed here either, because what stands in the file's place is
    // no longer as expected. done: has taken the place of what was expected. displaced: of something else.
    enum class Exchange { failed, changed, done, displaced };
    // Commits where others may replace the file at the same time, whether or not they take the lock.
    virtual Exchange exchange(const FileState& expected) = 0;
    // What an exchange has displaced; null where that is no readable regular file.
    virtual std::unique_ptr<FileReader> displaced() = 0;
    // Leaves that beside the file, as Files::setAside does, where it would be removed with this object.
    virtual void keepDisplaced() = 0;
};

// Held until destroyed.
class FolderLock {
public:
    virtual ~FolderLock() = default;
};

// Who, besides root, could have written something; each includes the ones before.
enum class Writers { user, group, everybody, anotherUser };

struct FileTrust {
    Writers writers = Writers::user;
    // The file or folder that they can write.
    std::string place;
    bool isTheUsers() const { return writers <= Writers::group; }
};

// Synchronous, on any thread. The real one tells the person, and the log, of what could not be written.
class Files {
public:
    virtual ~Files() = default;
    // Null where there is no readable regular file; never waits for a peer (a FIFO, a device).
    virtual std::unique_ptr<FileReader> open(const std::string& path) = 0;
    virtual FileState state(const std::string& path) = 0;
    // Who could have put there what open() reads.
    virtual FileTrust trust(const std::string& path) = 0;
    // Null where the file's folder takes no new file.
    virtual std::unique_ptr<FileReplacement> replace(const std::string& path) = 0;
    // Moves what cannot be used out of the way, to a further name beside it ("FILE.kept", "FILE.kept-2" and so on).
    // False where it is no longer as it was found, or a folder, or where as many are kept already as may be.
    virtual bool setAside(const std::string& path, const FileState& found) = 0;
    // With its parents; what is created gets the mode, what exists keeps its own.
    virtual bool createFolder(const std::string& path, unsigned mode) = 0;
    // An advisory lock between processes on one file of a folder. Null where there is none to be had, or where its
    // holder has kept it for minutes.
    virtual std::unique_ptr<FolderLock> lock(const std::string& path) = 0;
};

// Of the settings, and of the keychain's file.
inline constexpr std::size_t largestSettings = std::size_t{1024} * 1024;

// The whole file, or nothing where it cannot be read or is larger than the limit.
std::optional<std::string> readWhole(Files& files, const std::string& path, std::size_t limit);

}  // namespace tobrel
