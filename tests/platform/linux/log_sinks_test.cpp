#include "platform/linux/log_sinks.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace tobrel {

namespace {

bool write(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text;
    file.close();
    return file.good();
}

// A /run of the process's own, which an ordinary user gets by a user namespace, where the system grants that.
bool enterOwnRun() {
    const uid_t user = geteuid();
    const gid_t group = getegid();
    if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    auto map = [](auto number) { return std::to_string(number) + " " + std::to_string(number) + " 1"; };
    if (user != 0 && !(write("/proc/self/setgroups", "deny") && write("/proc/self/uid_map", map(user)) &&
                       write("/proc/self/gid_map", map(group))))
        return false;
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    return mount("none", "/run", "tmpfs", 0, nullptr) == 0;
}

// What reaches the journal's socket there.
std::string loggedInOwnRun() {
    if (!enterOwnRun()) return "refused";
    if (makeJournaldLog()) return "a journal without its socket";
    std::filesystem::create_directories("/run/systemd/journal");
    sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
    int journal = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(journal, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return "no socket";
    auto log = makeJournaldLog();
    if (!log) return "no library";
    log->write(OSLogType::info, "com.qelmo.tobrel.actionui", "actions", "two\nPRIORITY=0");
    char entry[4096];
    ssize_t length = recv(journal, entry, sizeof entry, MSG_DONTWAIT);
    return {entry, static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

}  // namespace

TEST(JournaldLog, WritesStructuredFieldsThatAMessageCannotForge) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    pid_t child = fork();
    if (child == 0) {
        std::string entry = loggedInOwnRun();
        _exit(::write(ends[1], entry.data(), entry.size()) != static_cast<ssize_t>(entry.size()));
    }
    close(ends[1]);
    char entry[4096];
    std::string text(entry, static_cast<std::size_t>(std::max<ssize_t>(read(ends[0], entry, sizeof entry), 0)));
    close(ends[0]);
    waitpid(child, nullptr, 0);
    if (text == "refused") GTEST_SKIP() << "this system lets its user make no namespace with a /run of its own";
    for (const char* field : {"PRIORITY=6\n", "SUBSYSTEM=com.qelmo.tobrel.actionui\n", "CATEGORY=actions\n"})
        EXPECT_NE(text.find(field), std::string::npos) << text;
    EXPECT_NE(text.find("MESSAGE=two␊PRIORITY=0\n"), std::string::npos) << text;
}

TEST(StreamLog, CountsTheLinesThatAFullPipeLostAndNeverWaits) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    {
        StreamLog log(ends[1]);
        // 65,536 bytes fit.
        for (int line = 0; line < 70; ++line) log.write(OSLogType::info, "s", "c", std::string(1013, 'x'));
        std::string read(65'536, ' ');
        ASSERT_EQ(::read(ends[0], read.data(), read.size()), 65'536);
    }
    char last[100];
    ssize_t length = read(ends[0], last, sizeof last);
    EXPECT_EQ(std::string(last, static_cast<std::size_t>(length)), "6 lines of the log could not be written\n");
    close(ends[0]);
    close(ends[1]);
}

}  // namespace tobrel
