#include <gmock/gmock.h>

#include <csignal>

#include "end_to_end/scenario.h"

namespace tobrel::testing {

namespace {

constexpr const char* twoShares =
    R"({"given":[{"id":"g1","email":"bob@tobrel.test"},)"
    R"({"id":"g2","email":"eve@tobrel.test","role":"write"},{"email":"old@tobrel.test"}],)"
    R"("received":{"id":"g3","owner_email":"ann@tobrel.test","role":"write","is_top":true}})";
constexpr const char* liveLink =
    R"({"shares":[{"url":"https://tobrel.test/s/old","expires_at":"2030-01-15 12:00:00"}]})";

Program startBatch(const Installation& installation, Words words, const Program::Setting& setting = {}) {
    words.insert(words.begin(), {"--front-end", "batch", "--domain", "work"});
    auto english = setting;
    english.environment.insert(english.environment.end(), {"LC_ALL=en_US.UTF-8", "TZ=UTC"});
    return Program(installation.action(words), english);
}

}  // namespace

TEST(BatchFrontEnd, PrintsTheResultAlone) {
    const std::string created = R"({"name":"report.pdf","keys":["ann/Docs/report.pdf"])";
    struct {
        Words words;
        const char* shares;
        std::string output;
        // The last request, and its body.
        const char* asked;
        std::string body = {};
    } const cases[] = {
        {{"share", "id:file"},
         "",
         "https://tobrel.test/s/1\n",
         "POST /tobrel/api/shares",
         created + R"(,"expires_in_days":30})"},
        {{"share", "--json", "id:file"},
         liveLink,
         "{\"url\":\"https://tobrel.test/s/old\",\"expires\":\"Expires Jan 15, 2030.\"}\n",
         "POST /tobrel/api/shares/find"},
        {{"share", "--new", "id:file"},
         liveLink,
         "https://tobrel.test/s/1\n",
         "POST /tobrel/api/shares",
         created + R"(,"expires_in_days":30})"},
        {{"share", "--days", "7", "id:file"},
         liveLink,
         "https://tobrel.test/s/1\n",
         "POST /tobrel/api/shares",
         created + R"(,"expires_in_days":7})"},
        {{"share", "--no-expiry", "--json", "id:file"},
         liveLink,
         "{\"url\":\"https://tobrel.test/s/1\",\"expires\":\"This link does not expire.\"}\n",
         "POST /tobrel/api/shares",
         created + "}"},
        {{"share-with", "--email", "eve@tobrel.test", "--role", "edit", "id:folder"},
         "",
         "",
         "POST /tobrel/api/grants",
         R"({"folder_id":"folder","email":"eve@tobrel.test","role":"write"})"},
        {{"share-with", "--email", "eve@tobrel.test", "id:folder"},
         "",
         "",
         "POST /tobrel/api/grants",
         R"({"folder_id":"folder","email":"eve@tobrel.test","role":"read"})"},
        {{"manage", "id:folder"},
         "",
         "bob@tobrel.test\tview\neve@tobrel.test\tedit\nold@tobrel.test\tview\n\tedit\tann@tobrel.test\n",
         "GET /tobrel/api/grants?folder_id=folder"},
        {{"manage", "--json", "id:folder"},
         "",
         "{\"email\":\"bob@tobrel.test\",\"role\":\"view\"}\n{\"email\":\"eve@tobrel.test\",\"role\":\"edit\"}\n"
         "{\"email\":\"old@tobrel.test\",\"role\":\"view\"}\n{\"owner\":\"ann@tobrel.test\",\"role\":\"edit\"}\n",
         "GET /tobrel/api/grants?folder_id=folder"},
        {{"manage", "--stop", "eve@tobrel.test", "id:folder"}, "", "", "DELETE /tobrel/api/grants/g2"},
        {{"manage", "--leave", "id:folder"}, "", "", "DELETE /tobrel/api/grants/g3"},
        {{"online", "id:file"}, "", "SERVER/tobrel/account/files#files/Docs\n", "GET /tobrel/api/item?id=file"},
        {{"keep", "id:file"}, "", "", nullptr},
    };
    for (auto c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.words));
        ScriptedTobrel tobrel;
        tobrel.answers("/tobrel/api/grants?", twoShares);
        if (*c.shares) tobrel.answers("/tobrel/api/shares/find", c.shares);
        Ended ended = startBatch(tobrel.installation, c.words).wait();
        if (auto at = c.output.find("SERVER/"); at != c.output.npos) c.output.replace(at, 7, tobrel.server.url());
        EXPECT_EQ(ended.output, c.output);
        EXPECT_EQ(ended.errors, "");
        EXPECT_EQ(ended.status, 0);
        for (const auto& request : tobrel.server.requests()) {
            EXPECT_EQ(request.header("X-API-Key"), "secret");
            EXPECT_EQ(request.header("X-Tobrel-Client"),
                      "macos/" TOBREL_VERSION " (" TOBREL_VERSION "); tobrel-action");
            EXPECT_EQ(request.header("Content-Type"), request.body().empty() ? "" : "application/json");
        }
        auto asked = tobrel.asked();
        if (!c.asked) {
            EXPECT_TRUE(asked.empty());
            continue;
        }
        // After "Stop sharing" the list is asked for once more.
        auto last = std::find(asked.rbegin(), asked.rend(), c.asked);
        ASSERT_NE(last, asked.rend()) << ::testing::PrintToString(asked);
        EXPECT_LE(last - asked.rbegin(), 1);
        EXPECT_THAT(tobrel.server.requests().back().body(), ::testing::HasSubstr(c.body));
    }
}

TEST(BatchFrontEnd, TellsARefusalByItsStatusAndOneLine) {
    struct {
        Words words;
        std::string says;
        int status = 5;
        const char* target = nullptr;
        const char* body = "";
        int answer = 200;
    } const cases[] = {
        {{"share"}, "Nothing here can be shared."},
        {{"share", "id:file"},
         "Closed for repairs.",
         5,
         "/tobrel/api/item?id=file",
         R"({"error":"Closed for repairs."})",
         500},
        {{"share", "id:file"},
         "Could not create the share link: Full…",
         5,
         "/tobrel/api/shares",
         R"({"error":"Full…"})",
         500},
        {{"share", "id:file"}, "Could not create the share link: unknown error", 5, "/tobrel/api/shares", "{}"},
        {{"share-with", "--email", "a@b", "id:file"}, "Only folders can be shared with other Tobrel users."},
        {{"share-with", "--email", "a@b", "id:folder"},
         "Could not share: No such user.",
         5,
         "/tobrel/api/grants",
         R"({"error":"No such user."})",
         404},
        {{"manage", "id:folder", "id:file"}, "Select a single folder."},
        {{"manage", "id:shared"}, "holds folders other people share with you. Choose a folder inside it"},
        {{"manage", "id:folder"}, "Tobrel answered HTTP 503", 5, "/tobrel/api/grants?", "", 503},
        {{"manage", "--stop", "eve@tobrel.test", "id:folder"}, "is not shared with eve@tobrel.test"},
        {{"manage", "--stop", "bob@tobrel.test", "id:folder"},
         "Could not stop sharing: Not yours.",
         5,
         "/tobrel/api/grants/",
         R"({"error":"Not yours."})",
         403},
        {{"manage", "--stop", "old@tobrel.test", "id:folder"},
         "no name to end it by",
         5,
         "/tobrel/api/grants?",
         twoShares},
        {{"manage", "--leave", "id:folder"}, "not one that somebody else shared with you"},
        {{"online", "id:file"}, "Tobrel answered HTTP 418", 5, "/tobrel/api/item?id=file", "", 418},
        {{"action", "com.qelmo.tobrel.other", "id:file"}, "FPUIErrorDomain 1: ", 1},
        {{"share", "nowhere"}, "“nowhere”", 3},
        {{"share", "--email", "a@b", "id:file"}, "--email goes with share-with", 2},
        {{"share", "--days", "3651", "id:file"}, "--days takes a whole number from 1 to 3650, not “3651”", 2},
        {{"share", "--days", "0", "id:file"}, "not “0”", 2},
        {{"share", "--days", "7", "--no-expiry", "id:file"}, "exclude each other", 2},
        {{"share-with", "id:folder"}, "share-with needs --email ADDRESS", 2},
        {{"share-with", "--email", "eve", "id:folder"}, "not “eve”", 2},
        {{"share-with", "--email", "a@b", "--role", "own", "id:folder"}, "--role takes view or edit, not “own”", 2},
        {{"manage", "--stop", "a@b", "--leave", "id:folder"}, "exclude each other", 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::PrintToString(c.words) + ": " + c.says);
        ScriptedTobrel tobrel;
        tobrel.installation.addFolder("shared", "Shared with me");
        if (c.target) tobrel.answers(c.target, c.body, c.answer);
        Ended ended = startBatch(tobrel.installation, c.words).wait();
        EXPECT_EQ(ended.status, c.status);
        EXPECT_EQ(ended.output, "");
        EXPECT_THAT(ended.errors, ::testing::HasSubstr(c.says));
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1) << ended.errors;
        EXPECT_TRUE(c.status != 2 || tobrel.asked().empty());
    }
}

TEST(BatchFrontEnd, SaysOnASignalWhatMayHaveBeenDone) {
    for (const auto& step : steps) {
        SCOPED_TRACE(step.name);
        ScriptedTobrel tobrel;
        tobrel.server.script(step.target, {stalls()});
        Words words = step.words;
        if (words[0] == "share-with") words.insert(words.begin() + 1, {"--email", "bob@tobrel.test"});
        if (step.button == "Stop sharing") words.insert(words.begin() + 1, {"--stop", "bob@tobrel.test"});
        Program program = startBatch(tobrel.installation, words);
        tobrel.server.waitForRequests(step.requests);
        program.kill(SIGTERM);
        Ended ended = program.wait();
        EXPECT_EQ(ended.status, 5);
        EXPECT_EQ(ended.output, "");
        EXPECT_THAT(ended.errors,
                    ::testing::HasSubstr(step.button.empty() ? "nothing was changed" : "may have been done"));
    }
}

TEST(BatchFrontEnd, DoesNotLoseALinkThatItCannotWrite) {
    ScriptedTobrel tobrel;
    Ended ended = startBatch(tobrel.installation, {"share", "id:file"}, {.standardOutput = "/dev/full"}).wait();
    EXPECT_EQ(ended.status, 5);
    EXPECT_THAT(ended.errors, ::testing::HasSubstr("https://tobrel.test/s/1"));
}

}  // namespace tobrel::testing
