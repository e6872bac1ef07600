#include "platform/linux/files_posix.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <thread>

#include "platform/linux/file_descriptor.h"

namespace tobrel {

namespace {

constexpr std::string_view temporaryPrefix = ".tobrel-", temporarySuffix = ".tmp";
constexpr std::size_t temporaryLength = temporaryPrefix.size() + 16 + temporarySuffix.size();

std::string temporaryName() {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) return {};
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(number));
    return std::string(temporaryPrefix).append(digits).append(temporarySuffix);
}

std::string folderOf(const std::string& path) {
    std::size_t slash = path.rfind('/');
    if (slash == path.npos) return ".";
    return path.substr(0, slash == 0 ? 1 : slash);
}

FileDescriptor openFolder(const std::string& path) {
    return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

class PosixFileReader : public FileReader {
public:
    explicit PosixFileReader(FileDescriptor file) : file_(std::move(file)) {}

    std::optional<std::size_t> read(std::span<char> buffer) override {
        ssize_t count;
        do {
            count = ::read(file_.number(), buffer.data(), buffer.size());
        } while (count < 0 && errno == EINTR);
        return count < 0 ? std::nullopt : std::optional<std::size_t>(count);
    }

private:
    FileDescriptor file_;
};

class PosixFileReplacement : public FileReplacement {
public:
    PosixFileReplacement(std::string path, std::string temporary, FileDescriptor file)
        : path_(std::move(path)), temporary_(std::move(temporary)), file_(std::move(file)) {}
    ~PosixFileReplacement() override {
        if (!temporary_.empty()) ::unlink(temporary_.c_str());
    }

    bool write(std::string_view bytes) override {
        while (!bytes.empty()) {
            ssize_t count = ::write(file_.number(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) return false;
            if (count < 0) continue;
            bytes.remove_prefix(count);
            size_ += count;
        }
        // The disk may begin while the rest is still being made.
        constexpr off_t portion = off_t{4} * 1024 * 1024;
        if (size_ - flushed_ >= portion) {
            ::sync_file_range(file_.number(), flushed_, size_ - flushed_, SYNC_FILE_RANGE_WRITE);
            flushed_ = size_;
        }
        return true;
    }

    bool restart() override {
        size_ = flushed_ = 0;
        return ::ftruncate(file_.number(), 0) == 0 && ::lseek(file_.number(), 0, SEEK_SET) == 0;
    }

    bool commit() override {
        struct stat old;
        // Its owner must be able to read it next time, or what it holds then would count as nothing.
        if (::stat(path_.c_str(), &old) == 0 && S_ISREG(old.st_mode))
            ::fchmod(file_.number(), (old.st_mode & 0777) | 0600);
        if (::fsync(file_.number()) != 0 || ::rename(temporary_.c_str(), path_.c_str()) != 0) return false;
        temporary_.clear();
        if (FileDescriptor folder = openFolder(folderOf(path_))) ::fsync(folder.number());
        return true;
    }

private:
    const std::string path_;
    std::string temporary_;
    FileDescriptor file_;
    off_t size_ = 0;
    off_t flushed_ = 0;
};

class PosixFolderLock : public FolderLock {
public:
    explicit PosixFolderLock(FileDescriptor folder) : folder_(std::move(folder)) {}

private:
    FileDescriptor folder_;
};

// Tells one state of a file from the next.
struct Version {
    explicit Version(const std::string& path) {
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0) return;
        file = status.st_ino;
        seconds = status.st_mtim.tv_sec;
        nanoseconds = status.st_mtim.tv_nsec;
        size = status.st_size;
    }
    bool operator==(const Version&) const = default;

    ino_t file = 0;
    time_t seconds = 0;
    long nanoseconds = 0;
    off_t size = 0;
};

// Waits as long as others get on with their work.
bool waitForLock(int folder, const std::string& path, std::chrono::milliseconds patience) {
    using namespace std::chrono_literals;
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pause = 5ms, longest = 2min;
    constexpr off_t bytesPerSecond = off_t{4} * 1024 * 1024;

    const auto start = Clock::now();
    auto lastProgress = start;
    Version version(path);
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) return false;
        std::this_thread::sleep_for(pause);
        auto now = Clock::now();
        Version present(path);
        if (present != version) lastProgress = now;
        version = present;
        // A large file takes its holder longer to replace.
        auto limit = patience + std::chrono::seconds(version.size / bytesPerSecond);
        if (now - lastProgress > limit || now - start > longest) return false;
    }
    return true;
}

void removeLeftovers(const std::string& path, int folder) {
    constexpr time_t abandonedAfter = 60;
    DIR* listing = ::opendir(path.c_str());
    if (!listing) return;
    while (const dirent* entry = ::readdir(listing)) {
        std::string_view name = entry->d_name;
        struct stat status;
        if (name.size() == temporaryLength && name.starts_with(temporaryPrefix) && name.ends_with(temporarySuffix) &&
            ::fstatat(folder, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            status.st_mtime + abandonedAfter < ::time(nullptr))
            ::unlinkat(folder, entry->d_name, 0);
    }
    ::closedir(listing);
}

// False with errno ENOENT where the parent is missing.
bool makeFolder(const std::string& path, unsigned mode) {
    // Setting the mode afterwards gives it whatever the process's mask is.
    if (::mkdir(path.c_str(), mode) == 0) return ::chmod(path.c_str(), mode) == 0;
    struct stat status;
    return errno == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::unique_ptr<FileReader> PosixFiles::open(const std::string& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status;
    if (!file || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    return std::make_unique<PosixFileReader>(std::move(file));
}

std::unique_ptr<FileReplacement> PosixFiles::replace(const std::string& path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    while (true) {
        std::string name = temporaryName();
        if (name.empty()) return nullptr;
        name.insert(0, folder);
        FileDescriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file) return std::make_unique<PosixFileReplacement>(path, std::move(name), std::move(file));
        if (errno != EEXIST && errno != EINTR) return nullptr;
    }
}

bool PosixFiles::createFolder(const std::string& path, unsigned mode) {
    if (makeFolder(path, mode)) return true;
    std::size_t slash = path.rfind('/', path.find_last_not_of('/'));
    if (errno != ENOENT || slash == path.npos || slash == 0) return false;
    return createFolder(path.substr(0, slash), mode) && makeFolder(path, mode);
}

std::unique_ptr<FolderLock> PosixFiles::lock(const std::string& path) {
    const std::string name = folderOf(path);
    FileDescriptor folder = openFolder(name);
    if (!folder || !waitForLock(folder.number(), path, patience_)) return nullptr;
    removeLeftovers(name, folder.number());
    return std::make_unique<PosixFolderLock>(std::move(folder));
}

}  // namespace tobrel
