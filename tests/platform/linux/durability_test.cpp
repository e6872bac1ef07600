#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "platform/linux/files_posix.h"
#include "support/temporary_folder.h"

namespace {

// What this program asks of the kernel, and what its file system answers to an exchange of names.
struct {
    std::vector<std::string> calls;
    int refusal = 0;
} kernel;

}  // namespace

// In the place of the C library's.
extern "C" int fsync(int descriptor) {
    struct stat status;
    kernel.calls.emplace_back(fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode) ? "flush folder"
                                                                                         : "flush file");
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}
extern "C" int rename(const char* from, const char* to) noexcept {
    kernel.calls.emplace_back("rename");
    return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}
extern "C" int renameat2(int, const char* from, int, const char* to, unsigned flags) noexcept {
    kernel.calls.emplace_back("rename");
    errno = kernel.refusal;
    return kernel.refusal ? -1 : static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, flags));
}

namespace tobrel {

using Exchange = FileReplacement::Exchange;

struct DurabilityTest : ::testing::Test {
    testing::TemporaryFolder folder;
    PosixFiles files;
    const std::string file = folder.file("file");

    Exchange exchange(int refusal = 0) {
        const FileState expected = files.state(file);
        auto replacement = files.replace(file);
        EXPECT_TRUE(replacement->write("dropped") && replacement->restart() && replacement->write("new"));
        kernel = {{}, refusal};
        Exchange exchanged = replacement->exchange(expected);
        kernel.refusal = 0;
        return exchanged;
    }
};

TEST_F(DurabilityTest, FlushesTheFileBeforeItTakesItsPlaceAndTheFolderAfterwards) {
    const std::vector<std::string> order{"flush file", "rename", "flush folder"};
    for (const char* old : {"none", "old"}) {
        EXPECT_EQ(exchange(), Exchange::done);
        EXPECT_EQ(kernel.calls, order) << old;
        EXPECT_EQ(testing::readFile(file), "new");
    }
    kernel.calls.clear();
    auto replacement = files.replace(file);
    EXPECT_TRUE(replacement->write("newer") && replacement->commit());
    EXPECT_EQ(kernel.calls, order);
}

TEST_F(DurabilityTest, ExchangesOnFileSystemsThatKnowNoExchangeAndTellsRacesFromFailures) {
    for (int unknown : {EINVAL, ENOSYS}) {
        testing::writeFile(file, "old");
        EXPECT_EQ(exchange(unknown), Exchange::done);
        EXPECT_EQ(testing::readFile(file), "new");
        std::filesystem::remove(file);
        EXPECT_EQ(exchange(unknown), Exchange::done);
        EXPECT_EQ(testing::readFile(file), "new");
    }
    // Removed, or put there, in the same instant.
    EXPECT_EQ(exchange(ENOENT), Exchange::changed);
    EXPECT_EQ(exchange(EEXIST), Exchange::failed);
    std::filesystem::remove(file);
    EXPECT_EQ(exchange(EEXIST), Exchange::changed);
    EXPECT_EQ(exchange(ENOENT), Exchange::failed);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace tobrel
