#pragma once

#include <atomic>
#include <chrono>

#include "platform/files.h"
#include "platform/linux/file_trust.h"
#include "platform/linux/notice.h"

namespace tobrel {

// Flushes what it replaces to the disk before and after the change of names. Its locks hold for a whole folder and
// leave no file behind; taking one also removes what processes that were killed have left there.
class PosixFiles : public Files {
public:
    // Is told what could not be written, and when a lock keeps the command waiting. A lock is waited for that
    // long.
    explicit PosixFiles(Notice notice = {}, std::chrono::milliseconds patience = std::chrono::minutes(2));
    std::unique_ptr<FileReader> open(const std::string& path) override;
    FileTrust trust(const std::string& path) override { return trustOf(path); }
    FileState state(const std::string& path) override;
    std::unique_ptr<FileReplacement> replace(const std::string& path) override;
    bool setAside(const std::string& path, const FileState& found) override;
    bool createFolder(const std::string& path, unsigned mode) override;
    std::unique_ptr<FolderLock> lock(const std::string& path) override;

private:
    const Notice notice_;
    const std::chrono::milliseconds patience_;
    // A lock was not to be had: what is written since is not safe from whoever has it.
    std::atomic<bool> withoutLock_ = false;
};

}  // namespace tobrel
