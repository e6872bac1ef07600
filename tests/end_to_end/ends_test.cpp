#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "end_to_end/scenario.h"

namespace tobrel::testing {

namespace {

struct End {
    const char* name;
    void (*perform)(Program& program);
};

const std::vector<End> ends = {
    {"close", [](Program& program) { program.write(closeWindow); }},
    {"Escape", [](Program& program) { program.write("{\"do\":\"key\",\"key\":\"\\u001b\"}\n"); }},
    {"Done", [](Program& program) { program.write(click("Done")); }},
    {"end of input", [](Program& program) { program.endInput(); }},
    {"SIGTERM", [](Program& program) { program.kill(SIGTERM); }},
    {"SIGINT", [](Program& program) { program.kill(SIGINT); }},
    {"SIGHUP", [](Program& program) { program.kill(SIGHUP); }},
};

}  // namespace

TEST(EndOfARequest, WaitsForNoAnswerAndLetsNothingOfItThrough) {
    for (const auto& step : steps) {
        ScriptedTobrel tobrel;
        std::size_t before = 0;
        for (const auto& end : ends) {
            SCOPED_TRACE(step.name + (", " + std::string(end.name)));
            tobrel.server.script(step.target, {stalls()});
            Program program = start(tobrel.installation, step.words);
            pressButton(program, step);
            tobrel.server.waitForRequests(before + step.requests);
            auto begin = std::chrono::steady_clock::now();
            end.perform(program);
            // The input of all but one end stays open.
            program.waitForLine(R"("event":"completed")");
            Ended ended = finish(program);
            EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
            EXPECT_FALSE(ended.events("log").empty());
            EXPECT_TRUE(ended.events("clipboard").empty() && ended.events("open").empty());
            EXPECT_EQ(tobrel.asked().size(), before + step.requests);
            before = tobrel.asked().size();
        }
    }
}

TEST(Request, OpensNothingInThePlaceOfItsStandardDescriptors) {
    ScriptedTobrel tobrel;
    tobrel.server.script("/", {stalls()});
    Words words = tobrel.installation.action({"share", "--domain", "work", "id:file"});
    words[0] = TOBREL_BIN_DIR "/" + words[0];
    words.insert(words.begin(), {"sh", "-c", "exec \"$0\" \"$@\" <&- >&- 2>&-"});
    Program program(words);
    tobrel.server.waitForRequests(1);
    const std::string folder = "/proc/" + std::to_string(program.id()) + "/fd/";
    // The program guards its memory, and with it this folder.
    if (geteuid() != 0) GTEST_SKIP() << "only root sees its descriptors";
    for (const char* descriptor : {"0", "1", "2"})
        EXPECT_EQ(std::filesystem::read_symlink(folder + descriptor), "/dev/null");
}

}  // namespace tobrel::testing
