#pragma once

#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

// Installed for its life: the real files and user database over one home folder, all else fakes.
class LocalPlatform {
public:
    explicit LocalPlatform(const std::string& home, std::chrono::milliseconds lockPatience = std::chrono::seconds(5))
        : users_(home), files_(lockPatience) {
        platform::install(&platform_, nullptr);
    }
    ~LocalPlatform() { platform::install(nullptr, nullptr); }
    LocalPlatform(const LocalPlatform&) = delete;
    LocalPlatform& operator=(const LocalPlatform&) = delete;

private:
    PosixUserDatabase users_;
    PosixFiles files_;
    RecordingLog log_;
    ManualMainQueue mainQueue_;
    FakeFileProvider fileProvider_;
    const platform::Platform platform_{users_, files_, log_, mainQueue_, fileProvider_};
};

}  // namespace tobrel::testing
