#include <gmock/gmock.h>

#include "end_to_end/scenario.h"
#include "support/server.h"

namespace tobrel::testing {

using ::testing::ElementsAre;

TEST(OnlineCommand, OpensTheFolderOfTheItemAndCompletesByItself) {
    DevelopmentServer server;
    SignedIn user(server, ann);
    struct Case {
        Words items;
        const char* page;
        std::size_t requests;
    };
    for (const auto& [items, page, requests] : {
             Case{{user.at("Projects/2024/q1.pdf")}, "/Projects/2024", 1},
             Case{{user.at("report.pdf")}, "", 1},
             Case{{user.at("Projects/2024")}, "/Projects/2024", 1},
             Case{{user.at("Docs"), user.at("Docs/notes.txt")}, "/Docs", 1},
             Case{{user.root()}, "", 0},
             Case{{user.at("Shared with me")}, "/Shared%20with%20me", 0},
             Case{{}, "", 0},
             Case{{"id:unknown"}, "", 0},
         }) {
        std::size_t before = server.log().size();
        // Input that stays open: nobody has to close this sheet.
        Program program = start(user, commandLine("online", items));
        program.waitForLine(R"("event":"completed")");
        Ended ended = finish(program);
        EXPECT_THAT(values(ended, "open", "url"), ElementsAre(server.url() + "/tobrel/account/files#files" + page));
        EXPECT_EQ(message(ended), "Opened in your browser.");
        EXPECT_TRUE(views(ended.events("sheet").back(), "button").at(0).at("hidden").as_bool());
        EXPECT_EQ(server.log().size() - before, requests);
    }
}

TEST(OnlineCommand, EscapesAPathAndStaysOpenWhereTheServerDoesNotKnowTheItem) {
    ScriptedTobrel tobrel;
    tobrel.answers("/tobrel/api/item?id=folder", R"({"path":"/My Files//50%;É#?/","is_folder":true})");
    Ended opened = act(tobrel.installation, {"online", "id:folder"}, waitForText("Opened"));
    EXPECT_THAT(values(opened, "open", "url"),
                ElementsAre(tobrel.server.url("/tobrel/account/files#files/My%20Files/50%25%3B%C3%89%23%3F")));

    tobrel.answers("/tobrel/api/item?id=folder", R"({"error":"This item is not in your Tobrel any more."})", 404);
    Ended failed = act(tobrel.installation, {"online", "id:folder"}, waitForText("any more.") + click("Done"));
    EXPECT_EQ(message(failed), "This item is not in your Tobrel any more.");
    EXPECT_TRUE(failed.events("open").empty());

    tobrel.installation.configure("", "secret");
    EXPECT_TRUE(act(tobrel.installation, {"online"}, waitForText("never")).events("open").empty());
}

}  // namespace tobrel::testing
