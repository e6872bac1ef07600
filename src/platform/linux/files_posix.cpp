#include "platform/linux/files_posix.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <thread>

#include "platform/linux/file_names.h"
#include "platform/linux/file_replacement.h"
#include "text/harmless_text.h"

namespace tobrel {

namespace {

class PosixFolderLock : public FolderLock {
public:
    explicit PosixFolderLock(FileDescriptor folder) : folder_(std::move(folder)) {}

private:
    FileDescriptor folder_;
};

// The kernel drops a lock with its holder, so whoever has it lives. False, with errno, where waiting has lasted too
// long (EWOULDBLOCK) or there is no lock to be had.
bool waitForLock(int folder, const std::string& name, std::chrono::milliseconds patience, const Notice& notice) {
    using namespace std::chrono_literals;
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds pause = 5ms, silence = 3s;

    const auto start = Clock::now();
    bool told = false;
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR) continue;
        if (errno != EWOULDBLOCK || Clock::now() - start > patience) return false;
        if (Clock::now() - start > silence && !std::exchange(told, true) && notice)
            notice(NoticeKind::waiting, "Waiting for another program, which is writing in " + inQuotes(name) + ".");
        std::this_thread::sleep_for(pause);
    }
    return true;
}

// False with errno ENOENT where the parent is missing.
bool makeFolder(const std::string& path, unsigned mode) {
    // Setting the mode afterwards gives it whatever the process's mask is.
    if (::mkdir(path.c_str(), mode) == 0) return ::chmod(path.c_str(), mode) == 0;
    struct stat status;
    return errno == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

PosixFiles::PosixFiles(Notice notice, std::chrono::milliseconds patience)
    : notice_(std::move(notice)), patience_(patience) {}

std::unique_ptr<FileReader> PosixFiles::open(const std::string& path) {
    return openFile(path);
}

FileState PosixFiles::state(const std::string& path) {
    return stateOf(path);
}

std::unique_ptr<FileReplacement> PosixFiles::replace(const std::string& path) {
    return makeFileReplacement(path, withoutLock_ ? Guard::none : Guard::lock, notice_);
}

bool PosixFiles::setAside(const std::string& path, const FileState& found) {
    struct stat status;
    if (::lstat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode) || stateOf(path) != found) return false;
    auto name = keepBeside(path, path);
    if (notice_)
        notice_(NoticeKind::trouble,
                name ? keptSentence(path, *name) : inQuotes(path) + " could not be kept; it is replaced.");
    return name.has_value();
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
    if (folder && waitForLock(folder.number(), name, patience_, notice_)) {
        removeLeftovers(name, folder.number());
        return std::make_unique<PosixFolderLock>(std::move(folder));
    }
    int error = errno;
    withoutLock_ = true;
    if (notice_ && error != ENOENT && error != ENOTDIR)
        notice_(NoticeKind::trouble,
                "The lock on " + inQuotes(name) + " cannot be had" +
                    (error == EWOULDBLOCK ? "; another program keeps it" : std::string(": ") + std::strerror(error)) +
                    ". What both write at once may be written twice.");
    return nullptr;
}

}  // namespace tobrel
