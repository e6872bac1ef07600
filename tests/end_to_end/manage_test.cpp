#include <gmock/gmock.h>

#include <boost/json.hpp>

#include "end_to_end/scenario.h"
#include "support/server.h"

namespace tobrel::testing {

using ::testing::ElementsAre;

namespace {

void expectList(const Object& sheet, const Words& shown, const Words& buttons) {
    EXPECT_EQ(texts(sheet), shown);
    EXPECT_EQ(titles(sheet), buttons);
    EXPECT_EQ(heightOf(sheet), static_cast<std::int64_t>(34 * shown.size() + 80));
}

}  // namespace

TEST(ManageCommand, EndsAShareFromEitherSide) {
    DevelopmentServer server;
    SignedIn owner(server, ann);
    Words manage{"manage", owner.at("Projects")};
    expectList(sheetWith(act(owner, manage, waitForText("yet.")), "Not shared with anyone yet."),
               {"Sharing for “Projects”", "Not shared with anyone yet."}, {"Done"});

    auto give = [&](int role) {
        Program program = start(owner, {"share-with", owner.at("Projects")});
        auto form = sheetWith(program, "Share");
        program.write(type(views(form, "field").at(0), bob) + select(views(form, "popup").at(0), role) +
                      click("Share") + waitForText("Shared with"));
        finish(program);
    };
    give(1);
    SignedIn receiver(server, bob);
    Ended inside = act(receiver, {"manage", receiver.at("Shared with me/Projects/2024")}, waitForButton("Leave"));
    expectList(sheetWith(inside, "Leave"),
               {"Sharing for “2024”", "Inside “Projects”, shared with you by ann@tobrel.test  ·  you can edit"},
               {"Leave", "Done"});
    Ended left = act(receiver, {"manage", receiver.at("Shared with me/Projects")},
                     waitForButton("Leave") + click("Leave") + waitForText("You left"));
    expectList(sheetWith(left, "Leave"),
               {"Sharing for “Projects”", "Shared with you by ann@tobrel.test  ·  you can edit"}, {"Leave", "Done"});
    EXPECT_EQ(message(left),
              "You left “Projects”. It disappears from your Tobrel shortly.\n"
              "The owner can share it with you again any time.");
    ASSERT_EQ(infoLines(left).size(), 1u);
    EXPECT_TRUE(infoLines(left)[0].starts_with("revoked grant "));

    give(0);
    Ended stopped = act(owner, manage, waitForButton("Stop sharing") + click("Stop sharing") + waitForText("yet."));
    expectList(sheetWith(stopped, "Stop sharing"), {"Sharing for “Projects”", "bob@tobrel.test  ·  view only"},
               {"Stop sharing", "Done"});
    expectList(stopped.events("sheet").back(), {"Sharing for “Projects”", "Not shared with anyone yet."}, {"Done"});
}

TEST(ManageCommand, ShowsWhatAnAnswerHoldsAndLeavesAGrantWithoutIdAlone) {
    ScriptedTobrel tobrel;
    struct Case {
        const char* answer;
        Words texts;
        Words buttons;
    };
    std::string title = "Sharing for “Projects”";
    for (const auto& [answer, texts, buttons] : {
             Case{R"({"role":"read","given":[]})", {title}, {"Done"}},
             Case{R"({"given":"none","received":[]})", {title}, {"Done"}},
             Case{R"({"role":"owner","given":[{},{"email":"bob@x","role":"write"},{"email":7,"role":"admin"}]})",
                  {title, "?  ·  view only", "bob@x  ·  can edit", "?  ·  view only"},
                  {"Stop sharing", "Stop sharing", "Stop sharing", "Done"}},
             Case{R"({"role":"owner","received":{}})",
                  {title, "Not shared with anyone yet.", "Inside “”, shared with you by ?  ·  view only"},
                  {"Leave", "Done"}},
         }) {
        tobrel.answers("/tobrel/api/grants?", answer);
        std::size_t before = tobrel.asked().size();
        std::string press = buttons.size() > 1 ? click(buttons[0]) : "";
        Ended ended = act(tobrel.installation, {"manage", "id:folder"}, waitForText(title) + press);
        expectList(ended.events("sheet").back(), texts, buttons);
        for (const auto& button : views(ended.events("sheet").back(), "button"))
            EXPECT_TRUE(button.at("enabled").as_bool());
        EXPECT_EQ(tobrel.asked().size() - before, 2u);
    }
}

TEST(ManageCommand, StaysUsableWithFiveHundredGrantsAndANameOf4000Characters) {
    ScriptedTobrel tobrel;
    std::string name;
    for (int i = 0; i < 1000; ++i) name += "näme";
    boost::json::array given;
    for (int i = 0; i < 500; ++i)
        given.push_back({{"id", "g" + std::to_string(i)}, {"email", std::to_string(i) + "@x"}, {"role", "write"}});
    tobrel.answers("/tobrel/api/item?id=folder",
                   boost::json::serialize(boost::json::object{{"path", "Work/" + name}, {"is_folder", true}}));
    std::string everybody = boost::json::serialize(boost::json::object{{"given", given}});
    tobrel.answers("/tobrel/api/grants?", everybody);

    Program program = start(tobrel.installation, {"manage", "id:folder"});
    auto list = sheetWith(program, "499@x  ·  can edit");
    EXPECT_EQ(texts(list).size(), 501u);
    EXPECT_EQ(texts(list)[0], "Sharing for “" + name + "”");
    EXPECT_EQ(heightOf(list), 34 * 501 + 80);
    tobrel.answers("/tobrel/api/grants?", R"({"given":[{"id":"h","email":"left@x"}]})");
    program.write(click(views(list, "button").at(499)) + waitForText("left@x"));
    finish(program);
    EXPECT_EQ(tobrel.asked()[2], "DELETE /tobrel/api/grants/g499");

    tobrel.answers("/tobrel/api/grants?", everybody);
    Ended terminal = run(
        tobrel.installation.action({"manage", "--front-end", "terminal", "--domain", "work", "id:folder"}), "499\n");
    EXPECT_EQ(terminal.status, 0);
    EXPECT_NE(terminal.output.find("498@x  ·  can edit   [499] Stop sharing"), std::string::npos);
    EXPECT_EQ(tobrel.asked()[6], "DELETE /tobrel/api/grants/g498");
}

}  // namespace tobrel::testing
