#include "platform/linux/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "text/harmless_text.h"

namespace tobrel {

namespace {

// Again where a signal interrupted it.
template <class Call>
auto whole(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

class PosixFileReader : public FileReader {
public:
    explicit PosixFileReader(FileDescriptor file) : file_(std::move(file)) {}

    std::optional<std::size_t> read(std::span<char> buffer) override {
        ssize_t count = whole([&] { return ::read(file_.number(), buffer.data(), buffer.size()); });
        return count < 0 ? std::nullopt : std::optional<std::size_t>(count);
    }
    bool restart() override { return ::lseek(file_.number(), 0, SEEK_SET) == 0; }

private:
    FileDescriptor file_;
};

class PosixFileReplacement : public FileReplacement {
public:
    PosixFileReplacement(std::string path, std::string temporary, FileDescriptor file, const Notice& notice)
        : path_(std::move(path)), temporary_(std::move(temporary)), file_(std::move(file)), notice_(notice) {}
    ~PosixFileReplacement() override {
        if (!temporary_.empty()) ::unlink(temporary_.c_str());
    }

    bool write(std::string_view bytes) override {
        while (!bytes.empty()) {
            ssize_t count = whole([&] { return ::write(file_.number(), bytes.data(), bytes.size()); });
            if (count < 0) return failed();
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
        return (whole([&] { return ::ftruncate(file_.number(), 0); }) == 0 &&
                ::lseek(file_.number(), 0, SEEK_SET) == 0) ||
               failed();
    }

    bool commit() override {
        if (!flush()) return false;
        if (::rename(temporary_.c_str(), path_.c_str()) != 0) return failed();
        temporary_.clear();
        flushFolder();
        return true;
    }

    Exchange exchange(const FileState& expected) override {
        if (!flush()) return Exchange::failed;
        struct stat present;
        if (::lstat(path_.c_str(), &present) == 0 && S_ISDIR(present.st_mode)) {
            errno = EISDIR;
            failed();
            return Exchange::failed;
        }
        if (stateOf(path_) != expected) return Exchange::changed;

        bool isFirst = expected == FileState();
        bool placed = isFirst ? renameToFree(temporary_, path_) : exchangeNames(temporary_, path_);
        if (!placed && errno == (isFirst ? EEXIST : ENOENT)) return Exchange::changed;
        if (!placed) {
            failed();
            return Exchange::failed;
        }
        if (isFirst) temporary_.clear();
        flushFolder();
        return isFirst || stateOf(temporary_) == expected ? Exchange::done : Exchange::displaced;
    }

    std::unique_ptr<FileReader> displaced() override { return openFile(temporary_); }

    void keepDisplaced() override {
        auto name = keepBeside(temporary_, path_);
        if (!name) return;
        temporary_.clear();
        if (notice_) notice_(NoticeKind::trouble, keptSentence(path_, *name));
    }

private:
    bool flush() {
        struct stat old;
        // Its owner must be able to read it next time, or what it holds then would count as nothing.
        bool exists = ::stat(path_.c_str(), &old) == 0 && S_ISREG(old.st_mode);
        ::fchmod(file_.number(), (exists ? old.st_mode & 0777 : 0) | 0600);
        return whole([&] { return ::fsync(file_.number()); }) == 0 || failed();
    }

    void flushFolder() {
        FileDescriptor folder = openFolder(folderOf(path_));
        bool flushed = folder && whole([&] { return ::fsync(folder.number()); }) == 0;
        // Some file systems have nothing to flush there.
        if (!flushed && errno != EINVAL && notice_)
            notice_(NoticeKind::trouble,
                    inQuotes(path_) + " may not outlast a power failure: " + std::strerror(errno) + ".");
    }

    bool failed() {
        if (notice_)
            notice_(NoticeKind::trouble, inQuotes(path_) + " could not be written: " + std::strerror(errno) + ".");
        return false;
    }

    const std::string path_;
    std::string temporary_;
    FileDescriptor file_;
    const Notice notice_;
    off_t size_ = 0;
    off_t flushed_ = 0;
};

}  // namespace

std::unique_ptr<FileReplacement> makeFileReplacement(const std::string& path, Guard guard, const Notice& notice) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    while (true) {
        std::string name = temporaryName(guard);
        if (name.empty()) break;
        name.insert(0, folder);
        FileDescriptor file(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (file) return std::make_unique<PosixFileReplacement>(path, std::move(name), std::move(file), notice);
        if (errno != EEXIST && errno != EINTR) break;
    }
    if (notice) notice(NoticeKind::trouble, inQuotes(path) + " could not be written: " + std::strerror(errno) + ".");
    return nullptr;
}

std::unique_ptr<FileReader> openFile(const std::string& path) {
    FileDescriptor file(whole([&] { return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    struct stat status;
    if (!file || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    return std::make_unique<PosixFileReader>(std::move(file));
}

std::string keptSentence(const std::string& path, const std::string& name) {
    return inQuotes(path) + " could not be read as what it should be; it was kept as " + inQuotes(name) + ".";
}

}  // namespace tobrel
