#include "platform/linux/files_posix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <thread>

#include "support/temporary_folder.h"

namespace tobrel {
namespace {

namespace fs = std::filesystem;

struct PosixFilesTest : ::testing::Test {
    testing::TemporaryFolder folder;
    PosixFiles files;
    const std::string file = folder.file("file");

    bool replaceWith(const std::string& content) {
        auto replacement = files.replace(file);
        return replacement && replacement->write(content) && replacement->commit();
    }
    mode_t mode() { return static_cast<mode_t>(fs::status(file).permissions()); }
};

TEST_F(PosixFilesTest, ReadsRegularFilesOnly) {
    testing::writeFile(file, "text");
    fs::create_symlink(file, folder.file("link"));
    ASSERT_EQ(mkfifo(folder.file("fifo").c_str(), 0600), 0);
    EXPECT_EQ(readWhole(files, folder.file("link"), 4), "text");
    EXPECT_EQ(readWhole(files, file, 3), std::nullopt);
    for (std::string path : {folder.file("fifo"), folder.file("none"), std::string(folder.path()),
                             std::string("/dev/zero"), std::string()})
        EXPECT_FALSE(files.open(path)) << path;
}

TEST_F(PosixFilesTest, KeepsTheReplacedFilesMode) {
    umask(0777);
    EXPECT_TRUE(replaceWith("new"));
    EXPECT_EQ(mode(), 0600u);
    fs::permissions(file, fs::perms(0664));
    EXPECT_TRUE(replaceWith("newer"));
    EXPECT_EQ(mode(), 0664u);
    EXPECT_EQ(testing::readFile(file), "newer");
}

TEST_F(PosixFilesTest, LeavesNoTraceOfAReplacementThatIsNotCommitted) {
    testing::writeFile(file, "old");
    {
        auto replacement = files.replace(file);
        ASSERT_TRUE(replacement->write("new"));
    }
    fs::create_directory(folder.file("taken"));
    auto replacement = files.replace(folder.file("taken"));
    ASSERT_TRUE(replacement->write("dropped") && replacement->restart() && replacement->write("new"));
    EXPECT_FALSE(replacement->commit());
    replacement.reset();
    EXPECT_EQ(testing::readFile(file), "old");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 2);
    EXPECT_FALSE(files.replace(folder.file("none/file")));
}

TEST_F(PosixFilesTest, RemovesWhatKilledProcessesLeftBehind) {
    const std::string left = folder.file(".tobrel-0123456789abcdef.tmp");
    const std::string withoutLock = folder.file(".tobrel-f123456789abcdef.new");
    const std::string foreign = folder.file(".tobrel-notes.tmp");
    for (const std::string& path : {left, withoutLock, foreign}) testing::writeFile(path, "");
    EXPECT_TRUE(files.lock(file));
    EXPECT_FALSE(fs::exists(left));
    EXPECT_TRUE(fs::exists(withoutLock) && fs::exists(foreign));
}

TEST_F(PosixFilesTest, WaitsForALockUntilItsPatienceEnds) {
    using namespace std::chrono_literals;
    PosixFiles impatient({}, 50ms);
    auto held = files.lock(file);
    EXPECT_FALSE(impatient.lock(file));
    std::jthread holder([&] {
        std::this_thread::sleep_for(50ms);
        held.reset();
    });
    EXPECT_TRUE(files.lock(file));
}

TEST_F(PosixFilesTest, ExchangesOnlyWhatIsExpectedAndShowsWhatElseItDisplaced) {
    using Exchange = FileReplacement::Exchange;
    auto place = [&](const std::string& content, const FileState& expected) {
        auto replacement = files.replace(file);
        EXPECT_TRUE(replacement->write(content));
        return replacement->exchange(expected);
    };
    EXPECT_EQ(place("one", FileState()), Exchange::done);
    EXPECT_EQ(place("two", FileState()), Exchange::changed);
    FileState one = files.state(file);
    EXPECT_EQ(place("two", one), Exchange::done);
    EXPECT_EQ(place("three", one), Exchange::changed);
    EXPECT_EQ(testing::readFile(file), "two");
    fs::remove(file);
    EXPECT_EQ(place("three", one), Exchange::changed);
    fs::create_directory(file);
    EXPECT_EQ(place("three", files.state(file)), Exchange::failed);
    EXPECT_FALSE(files.setAside(file, files.state(file)));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
}

TEST_F(PosixFilesTest, SetsAsideWhatItIsToldToAFewTimes) {
    for (int number = 1; number <= 10; ++number) {
        testing::writeFile(file, std::to_string(number));
        EXPECT_FALSE(files.setAside(file, FileState()));
        EXPECT_EQ(files.setAside(file, files.state(file)), number < 10);
    }
    EXPECT_EQ(testing::readFile(file + ".kept"), "1");
    EXPECT_EQ(testing::readFile(file + ".kept-9"), "9");
    EXPECT_EQ(testing::readFile(file), "10");
}

TEST_F(PosixFilesTest, CreatesFoldersWithTheirParentsWhateverTheMask) {
    umask(0377);
    EXPECT_TRUE(files.createFolder(folder.file("a/b/c/"), 0750));
    umask(077);
    for (std::string path : {"a", "a/b", "a/b/c"})
        EXPECT_EQ(fs::status(folder.file(path)).permissions(), fs::perms(0750));
    EXPECT_TRUE(files.createFolder(folder.file("a"), 0700));
    EXPECT_EQ(fs::status(folder.file("a")).permissions(), fs::perms(0750));
    testing::writeFile(file, "");
    fs::create_symlink(folder.file("nowhere"), folder.file("dangling"));
    for (std::string path :
         {file, folder.file("file/x"), folder.file("dangling"), std::string("/proc/none/x"), std::string()})
        EXPECT_FALSE(files.createFolder(path, 0700)) << path;
}

}  // namespace
}  // namespace tobrel
