#include <gmock/gmock.h>

#include <boost/json.hpp>

#include "end_to_end/scenario.h"
#include "support/server.h"

namespace tobrel::testing {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ShareWithCommand, GivesTheRoleThatWasChosenAndShowsWhatTheServerRefuses) {
    DevelopmentServer server;
    SignedIn user(server, ann);
    struct Case {
        const char *path, *email;
        int role;
        const char *shown, *logged;
    };
    for (auto [path, email, role, shown, logged] : {
             Case{"Projects", " bob@tobrel.test\n", 0,
                  "Shared with bob@tobrel.test, view only.\nIt appears in their Tobrel under “Shared with me”.",
                  "shared folder with bob@tobrel.test (read)"},
             Case{"Projects", "bob@tobrel.test", 1,
                  "Shared with bob@tobrel.test, can edit.\nIt appears in their Tobrel under “Shared with me”.",
                  "shared folder with bob@tobrel.test (write)"},
             Case{"Docs", "@", 0, "Could not share: @ has no Tobrel account.", nullptr},
             Case{"Docs", "cid@tobrel.test", 0, "Could not share: cid@tobrel.test has no Tobrel account.", nullptr},
             Case{"", "bob@tobrel.test", 1,
                  "Could not share: The whole storage cannot be shared. Choose a folder in it.", nullptr},
         }) {
        Program program = start(user, {"share-with", user.at(path)});
        auto form = sheetWith(program, "Share");
        EXPECT_THAT(titles(form), ElementsAre("Cancel", "Share"));
        std::string name = *path ? path : "this folder";
        EXPECT_EQ(texts(form)[0], "Share “" + name + "” with a Tobrel user");
        auto field = views(form, "field").at(0);
        EXPECT_EQ(field.at("placeholder").as_string(), "their Tobrel email");
        EXPECT_TRUE(field.contains("focused"));
        auto popUp = views(form, "popup").at(0);
        EXPECT_EQ(popUp.at("selected").as_int64(), 0);
        program.write(type(field, email) + (role ? select(popUp, role) : "") + key("\r") + waitForText(shown));
        Ended ended = finish(program);
        EXPECT_EQ(message(ended), shown);
        EXPECT_EQ(infoLines(ended), logged ? Words{logged} : Words{});
    }
    EXPECT_THAT(server.log(), ::testing::Contains(HasSubstr(R"("email":"bob@tobrel.test","role":"write"})")));
}

TEST(ShareWithCommand, GoesBackToAnAddressWithoutAtSign) {
    ScriptedTobrel tobrel;
    Program program = start(tobrel.installation, {"share-with", "id:folder"});
    auto form = sheetWith(program, "Share");
    auto field = views(form, "field").at(0);
    program.write(click("Share") + type(field, "bob at tobrel.test") + key("\r"));
    Ended ended = finish(program);
    auto last = ended.events("sheet").back();
    EXPECT_EQ(titles(last), titles(form));
    EXPECT_TRUE(views(last, "field").at(0).contains("focused"));
    EXPECT_TRUE(ended.events("beep").empty());
    EXPECT_THAT(tobrel.asked(), ElementsAre("GET /tobrel/api/item?id=folder"));
}

TEST(ShareWithCommand, AndManageTakeExactlyOneFolder) {
    ScriptedTobrel tobrel;
    tobrel.installation.addFolder("shared", "Shared with me");
    struct Case {
        Words items;
        std::string shown;
        std::size_t requests;
    };
    for (const auto& [items, shown, requests] : {
             Case{{}, "Select a folder first.", 0},
             Case{{"id:unknown"}, "Select a folder first.", 0},
             Case{{"id:folder", "id:folder"}, "Select a single folder.", 0},
             Case{{"id:shared"},
                  "“Shared with me” holds folders other people share with you.\n"
                  "Choose a folder inside it, or one of your own.",
                  0},
             Case{{"id:file"}, "Only folders can be shared with other Tobrel users.", 1},
         })
        for (const char* command : {"share-with", "manage"}) {
            std::size_t before = tobrel.asked().size();
            EXPECT_EQ(message(act(tobrel.installation, commandLine(command, items), waitForText(shown))), shown);
            EXPECT_EQ(tobrel.asked().size() - before, requests) << shown;
        }
}

}  // namespace tobrel::testing
