#include <gmock/gmock.h>
#include <sys/stat.h>

#include "end_to_end/scenario.h"
#include "support/environment.h"

namespace tobrel::testing {

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class TerminalScript : public ::testing::Test {
protected:
    Ended type(Words words, const std::string& input) {
        words.insert(words.begin() + 1, {"--front-end", "terminal", "--domain", "work", "--log", "stderr"});
        Ended ended = run(tobrel.installation.action(words), input);
        EXPECT_EQ(ended.status, 0) << ended.errors;
        return ended;
    }

    // Neither the clipboard nor the browser of whoever runs the tests.
    EnvironmentVariable tmux{"TMUX", std::nullopt};
    EnvironmentVariable terminal{"TERM", "dumb"};
    EnvironmentVariable display{"DISPLAY", std::nullopt};
    EnvironmentVariable wayland{"WAYLAND_DISPLAY", std::nullopt};
    EnvironmentVariable browser{"BROWSER", std::nullopt};
    ScriptedTobrel tobrel;
};

}  // namespace

TEST_F(TerminalScript, LeavesTheAddressToTheBrowserWhereThereIsOne) {
    std::string pipe = tobrel.installation.home() + "/pipe";
    std::string script = tobrel.installation.home() + "/browser";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    writeFile(script, "echo \"$1\" > '" + pipe + "'");
    EnvironmentVariable named("BROWSER", "no-such-browser:sh '" + script + "' %s");
    Program reader({"cat", pipe});
    EXPECT_EQ(type({"online", "id:folder"}, "").output, "Opening in your browser…\nOpened in your browser.\n");
    EXPECT_EQ(reader.wait().output, tobrel.server.url("/tobrel/account/files#files/Work/Projects\n"));
}

TEST_F(TerminalScript, IsDrivenByNoTextOfAServerOrAnItem) {
    // A cursor move, a clipboard write, an 8-bit control, an override of the direction, a forged line.
    const std::string hostile = R"(\u001b[2Jevil\u001b]52;c;ZXZpbA==\u0007\u009b1m\u202e\u2066\r\nFORGED)";
    const std::string quoted = '"' + hostile + '"';
    auto expectHarmless = [&](const Ended& ended) {
        for (const auto& text : {ended.output, ended.errors}) {
            for (unsigned char byte : text) EXPECT_TRUE(byte == '\n' || (byte >= ' ' && byte != 0x7f)) << int{byte};
            for (const char* control : {"\xC2\x9B", "\xE2\x80\xAE", "\xE2\x81\xA6", "\nFORGED"})
                EXPECT_THAT(text, Not(HasSubstr(control)));
        }
    };
    tobrel.answers("/tobrel/api/item?id=folder", R"({"is_folder":true,"path":)" + quoted + "}");
    tobrel.answers("/tobrel/api/item?id=file", R"({"key":)" + quoted + "}");
    tobrel.answers("/tobrel/api/shares/find", R"({"shares":[{"url":)" + quoted + R"(,"expires_at":)" + quoted + "}]}");
    tobrel.answers("/tobrel/api/grants?", R"({"given":[{"id":)" + quoted + R"(,"email":)" + quoted +
                                              R"(}],"received":{"owner_email":)" + quoted + R"(,"folder_name":)" +
                                              quoted + "}}");
    for (const auto& words : std::vector<Words>{
             {"share", "id:file"}, {"share-with", "id:folder"}, {"manage", "id:folder"}, {"online", "id:folder"}}) {
        Ended ended = type(words, "");
        EXPECT_THAT(ended.output, HasSubstr("evil")) << words[0];
        expectHarmless(ended);
    }
    // Pressing what carries such a text; an item's own name in the log.
    expectHarmless(type({"manage", "id:folder"}, "1\n"));
    Ended unknown = type({"share", "id:evil\x1b[2J\xE2\x80\xAE\nFORGED"}, "");
    EXPECT_THAT(unknown.errors, HasSubstr("no url for evil"));
    expectHarmless(unknown);
}

}  // namespace tobrel::testing
