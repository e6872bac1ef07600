#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "end_to_end/scenario.h"

namespace tobrel::testing {

namespace {

// Places in the process's memory that hold the text; nothing where the system does not let this process look.
std::optional<std::size_t> places(pid_t process, const std::string& text) {
    const std::string folder = "/proc/" + std::to_string(process);
    std::ifstream maps(folder + "/maps"), memory(folder + "/mem", std::ios::binary);
    if (!maps || !memory) return std::nullopt;
    std::size_t found = 0;
    for (std::string line; std::getline(maps, line);) {
        std::size_t dash = line.find('-'), space = line.find(' ');
        if (line.compare(space + 1, 2, "rw") != 0) continue;
        std::uint64_t start = std::stoull(line.substr(0, dash), nullptr, 16);
        std::uint64_t end = std::stoull(line.substr(dash + 1, space - dash - 1), nullptr, 16);
        // More is a sanitizer's own bookkeeping.
        if (end - start > std::uint64_t{1} << 28) continue;
        std::string content(end - start, '\0');
        memory.clear();
        memory.seekg(static_cast<std::streamoff>(start));
        memory.read(content.data(), static_cast<std::streamsize>(content.size()));
        for (std::size_t at = content.find(text); at != content.npos; at = content.find(text, at + 1)) ++found;
    }
    return found;
}

}  // namespace

TEST(Secrets, AnIdleFormHoldsNoCopyOfTheKeyAndLetsNoOtherProcessLook) {
    const std::string key = "k3y-0123456789abcdefghijklmnopqrstuvwxyz-k3y";
    for (const char* place : {"config.json", "keychain"}) {
        ScriptedTobrel tobrel;
        tobrel.installation.configure(tobrel.server.url(), place == std::string("keychain") ? "" : key);
        if (place == std::string("keychain")) {
            EXPECT_EQ(tobrel.installation.admin({"key", "set"}, key).status, 0);
        }
        Program program = start(tobrel.installation, {"share", "id:file"});
        sheetWith(program, "Create Link");
        EXPECT_EQ(tobrel.server.requests().back().header("X-API-Key"), key);
        auto found = places(program.id(), key);
        auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (found.value_or(0) > 0 && std::chrono::steady_clock::now() < patience) {
            std::this_thread::yield();
            found = places(program.id(), key);
        }
        // Only root may look at all.
        EXPECT_EQ(found.has_value(), geteuid() == 0);
        EXPECT_EQ(found.value_or(0), 0u) << place;
        program.write(closeWindow);
        finish(program);
    }
}

}  // namespace tobrel::testing
