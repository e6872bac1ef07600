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
#include <set>

#include "platform/files.h"
#include "state/pin_queue.h"
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

struct CollectingTaker : PinQueue::Taker {
    void entryPart(std::string_view text, Part) override { entries.emplace_back(text); }
    bool finish() override { return writes; }
    std::vector<std::string> entries;
    bool writes = true;
};

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

TEST_F(PinFileTest, KeepsOnceBesideItWhatIsNoQueue) {
    fs::create_directory(folder);
    for (std::string malformed : {"", "{}", "[{},1]", "[{}"}) {
        testing::writeFile(queue, malformed);
        PinFile::request({"a"}, false);
        EXPECT_EQ(testing::readFile(queue), one);
        PinFile::request({}, false);
        EXPECT_EQ(testing::readFile(queue + ".kept"), malformed);
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2);
        fs::remove(queue + ".kept");
    }
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

TEST_F(PinFileTest, LosesNothingWithoutALockThatIsNeverGivenBack) {
    PosixFiles impatient({}, std::chrono::milliseconds(50));
    fs::create_directory(folder);
    int other = open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    std::set<std::string> given;
    for (int process = 0; process < 20; ++process) {
        given.insert(std::to_string(process));
        inChild([&] { PinQueue::append(impatient, queue, {std::to_string(process)}, true); });
    }
    for (int process = 0; process < 20; ++process) wait(nullptr);
    std::set<std::string> kept;
    for (const auto& entry : entries()) kept.emplace(entry.at("id").as_string());
    EXPECT_EQ(kept, given);
    close(other);
}

// Another program's doing between the moment when the queue was read and the exchange.
struct Meddled : PosixFiles {
    std::unique_ptr<FileReader> open(const std::string& path) override {
        auto file = PosixFiles::open(path);
        if (auto once = std::exchange(meddle, {})) once();
        return file;
    }
    std::function<void()> meddle;
};

TEST_F(PinFileTest, BringsInWhatAProgramThatTakesNoLockHasWritten) {
    const std::string other = R"([{"id":"a","pin":false},{"id":"other"}])";
    for (bool takes : {false, true}) {
        for (bool empties : {false, true}) {
            PinFile::request({}, true);
            testing::writeFile(queue, one);
            Meddled files;
            files.meddle = [&] {
                testing::writeFile(home.file("other"), empties ? "[]" : other);
                fs::rename(home.file("other"), queue);
            };
            CollectingTaker taken;
            if (takes)
                EXPECT_EQ(PinQueue::take(files, queue, taken), PinQueue::Taken::done);
            else
                PinQueue::append(files, queue, {"x"}, true);
            std::string expected = empties ? "" : R"({"id":"other"})";
            if (!takes)
                expected = (empties ? "" : other.substr(1, other.size() - 2) + ",") + R"({"id":"x","pin":true})";
            EXPECT_EQ(testing::readFile(queue), "[" + expected + "]");
        }
    }
}

TEST_F(PinFileTest, GivesATakingClientEntryByEntry) {
    const std::vector<std::string> kept = {R"({"id":"a","pin":true})", R"({"id":"}\\","n":"\"},{"})", R"({"n":[{}]})",
                                           R"({"t":true,"id":"b"})"};
    fs::create_directory(folder);
    testing::writeFile(queue, "[" + kept[0] + "," + kept[1] + " , " + kept[2] + "," + kept[3] + "," + kept[0] + "]");
    CollectingTaker taken;
    EXPECT_EQ(PinQueue::take(platform::current().files, queue, taken), PinQueue::Taken::done);
    EXPECT_EQ(taken.entries, (std::vector{kept[0], kept[1], kept[2], kept[3], kept[0]}));
}

TEST_F(PinFileTest, GivesATakingClientEveryRequestOnce) {
    constexpr int processes = 6, rounds = 50;
    for (int process = 0; process < processes; ++process)
        inChild([=] {
            for (int round = 0; round < rounds; ++round)
                PinFile::request({std::to_string(process) + " " + std::to_string(round)}, true);
        });
    PosixFiles files;
    CollectingTaker client;
    for (int running = processes; running > 0; running -= waitpid(-1, nullptr, WNOHANG) > 0)
        EXPECT_EQ(PinQueue::take(files, queue, client), PinQueue::Taken::done);
    PinQueue::take(files, queue, client);
    EXPECT_EQ(client.entries.size(), processes * rounds);
    EXPECT_EQ(std::set(client.entries.begin(), client.entries.end()).size(), processes * rounds);
    EXPECT_EQ(testing::readFile(queue), "[]");

    PinFile::request({"a"}, false);
    client.writes = false;
    EXPECT_EQ(PinQueue::take(files, queue, client), PinQueue::Taken::notWritten);
    EXPECT_EQ(testing::readFile(queue), one);
}

}  // namespace
}  // namespace tobrel
