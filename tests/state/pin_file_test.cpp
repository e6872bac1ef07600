#include "state/pin_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <boost/json.hpp>
#include <filesystem>

#include "support/local_platform.h"
#include "support/temporary_folder.h"

namespace tobrel {
namespace {

namespace fs = std::filesystem;

struct PinFileTest : ::testing::Test {
    testing::TemporaryFolder home;
    testing::LocalPlatform platform{home.path()};
    const std::string folder = home.file(".tobrel");
    const std::string queue = folder + "/pinned_pending.json";

    std::string content(const std::string& name) { return testing::readFile(folder + "/" + name); }
    boost::json::array entries() { return boost::json::parse(testing::readFile(queue)).as_array(); }
};

pid_t inChild(const std::function<void()>& work) {
    pid_t child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

const std::string one = R"([{"id":"a","pin":false}])";

TEST_F(PinFileTest, MakesThePrivateFolderAndWritesRequestsInOrder) {
    umask(0);
    PinFile::request({}, true);
    EXPECT_EQ(content("pinned_pending.json"), "[]");
    EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
    PinFile::request({"b", "a", "b"}, true);
    PinFile::request({"a"}, false);
    EXPECT_EQ(content("pinned_pending.json"),
              R"([{"id":"b","pin":true},{"id":"a","pin":true},{"id":"b","pin":true},{"id":"a","pin":false}])");
}

TEST_F(PinFileTest, KeepsTheSetsOfPinnedAndChangedItems) {
    PinFile::update({"b", "a", "a", "\xFF"}, true);
    PinFile::update({"a", "c"}, false);
    EXPECT_EQ(content("pinned.json"), "[\"b\",\"\uFFFD\"]");
    EXPECT_EQ(content("pinned_dirty.json"), "[\"a\",\"b\",\"c\",\"\uFFFD\"]");
    for (std::string malformed : {"", "{}", "[1]", "[\"x\",[]]", "[\"x\"", "\"x\"", "[[\"x\"]]", "[\"x\"]]"}) {
        testing::writeFile(folder + "/pinned.json", malformed);
        testing::writeFile(folder + "/pinned_dirty.json", "\xEF\xBB\xBF [ \"\\u0078\" ] ");
        PinFile::update({"a"}, true);
        EXPECT_EQ(content("pinned.json"), "[\"a\"]") << malformed;
        EXPECT_EQ(content("pinned_dirty.json"), "[\"a\",\"x\"]");
    }
}

TEST_F(PinFileTest, StartsAfreshInThePlaceOfWhatIsNoReadableFile) {
    fs::create_directory(folder);
    ASSERT_EQ(mkfifo(queue.c_str(), 0600), 0);
    PinFile::request({"a"}, false);
    EXPECT_EQ(testing::readFile(queue), one);

    fs::remove(queue);
    fs::create_symlink(home.file("nowhere"), queue);
    PinFile::request({"a"}, false);
    EXPECT_EQ(testing::readFile(queue), one);
    EXPECT_FALSE(fs::exists(home.file("nowhere")));
}

TEST_F(PinFileTest, DoesNothingWhereNothingCanBeWritten) {
    testing::writeFile(folder, "");
    PinFile::request({"a"}, true);
    PinFile::update({"a"}, true);
    EXPECT_TRUE(fs::is_regular_file(folder));

    fs::remove(folder);
    fs::create_directories(queue);
    PinFile::request({"a"}, true);
    EXPECT_TRUE(fs::is_empty(queue));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(PinFileTest, LeavesTheOldQueueOnAFullDisk) {
    PinFile::request({"a"}, false);
    pid_t child = inChild([] {
        signal(SIGXFSZ, SIG_IGN);
        rlimit limit{10'000, 10'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        PinFile::request(std::vector<std::string>(1'000, "b"), true);
    });
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(testing::readFile(queue), one);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

TEST_F(PinFileTest, LosesNothingAndKeepsACommandsEntriesTogetherWhenManyWriteAtOnce) {
    constexpr int processes = 24, rounds = 4, size = 5;
    for (int process = 0; process < processes; ++process)
        inChild([=] {
            for (int round = 0; round < rounds; ++round)
                PinFile::request(std::vector<std::string>(size, std::to_string(process)), true);
        });
    for (int process = 0; process < processes; ++process) wait(nullptr);
    auto all = entries();
    ASSERT_EQ(all.size(), processes * rounds * size);
    for (std::size_t index = 0; index < all.size(); ++index)
        EXPECT_EQ(all[index].at("id"), all[index - index % size].at("id")) << index;
}

TEST_F(PinFileTest, NeverLosesACompleteRequestToAKilledProcess) {
    using Counter = std::atomic<std::size_t>;
    void* shared = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Counter& complete = *new (shared) Counter(2'000);
    PinFile::request(std::vector<std::string>(2'000, "filler"), true);
    for (int kills = 0; kills < 200; ++kills) {
        std::size_t before = complete;
        pid_t child = inChild([&] {
            for (;; ++complete) PinFile::request({"x"}, true);
        });
        while (complete == before) usleep(50);
        usleep(kills * 37 % 2'000);
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        ASSERT_GE(entries().size(), complete);
    }
    munmap(shared, sizeof(Counter));
}

TEST_F(PinFileTest, GoesOnWithoutALockThatIsNeverGivenBack) {
    testing::LocalPlatform impatient(home.path(), std::chrono::milliseconds(50));
    fs::create_directory(folder);
    int other = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    PinFile::request({"a"}, false);
    EXPECT_EQ(testing::readFile(queue), one);
    close(other);
}

}  // namespace
}  // namespace tobrel
