#pragma once

#include <chrono>

#include "platform/files.h"

namespace tobrel {

// Flushes what it replaces to the disk before and after the change of names. Its locks hold for a whole folder and
// leave no file behind; taking one also removes what processes that were killed have left there.
class PosixFiles : public Files {
public:
    // How long a lock is waited for while its holder makes no progress; longer for a file that takes long to write.
    explicit PosixFiles(std::chrono::milliseconds patience = std::chrono::seconds(5)) : patience_(patience) {}
    std::unique_ptr<FileReader> open(const std::string& path) override;
    std::unique_ptr<FileReplacement> replace(const std::string& path) override;
    bool createFolder(const std::string& path, unsigned mode) override;
    std::unique_ptr<FolderLock> lock(const std::string& path) override;

private:
    const std::chrono::milliseconds patience_;
};

}  // namespace tobrel
