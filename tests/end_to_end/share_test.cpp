#include <gmock/gmock.h>

#include <boost/json.hpp>

#include "end_to_end/scenario.h"
#include "support/environment.h"
#include "support/server.h"

namespace tobrel::testing {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

namespace {

std::string linkForm(const std::string& instructions) {
    return waitForButton("Create Link") + instructions;
}

std::string created(const std::string& expiry) {
    return "Link copied to the clipboard:\nhttps://tobrel.test/s/1\n" + expiry;
}

void describeItems(ScriptedTobrel& tobrel) {
    for (const char* item : {"gone", "keyless", "pathless", "photos"}) tobrel.installation.addFile(item, item);
    tobrel.answers("/tobrel/api/item?id=gone", R"({"error":"Not there any more."})", 404);
    tobrel.answers("/tobrel/api/item?id=keyless", R"({"path":"keyless"})");
    tobrel.answers("/tobrel/api/item?id=pathless", R"({"is_folder":true})");
    tobrel.answers("/tobrel/api/item?id=photos", R"({"is_folder":1,"path":"Photos"})");
}

}  // namespace

TEST(ShareCommand, CreatesALinkThenOffersItForCopyingAndMakesOneThatDoesNotExpire) {
    EnvironmentVariable locale("LC_ALL", "C.UTF-8");
    EnvironmentVariable zone("TZ", "UTC");
    DevelopmentServer server;
    SignedIn user(server, ann);
    Words share{"share", user.at("report.pdf")};

    Program first = start(user, share);
    auto form = sheetWith(first, "Create Link");
    EXPECT_EQ(texts(form)[0], "Share link for “report.pdf”");
    EXPECT_THAT(titles(form), ElementsAre("Cancel", "Create Link"));
    EXPECT_EQ(heightOf(form), 166);
    auto days = views(form, "field").at(0);
    EXPECT_EQ(days.at("text").as_string(), "30");
    EXPECT_TRUE(days.contains("focused"));
    first.write(type(days, " +7 ") + key("\r") + waitForText("Link copied"));
    Ended made = finish(first);
    ASSERT_EQ(made.events("clipboard").size(), 1u) << made.output;
    std::string url = values(made, "clipboard", "text")[0];
    EXPECT_THAT(url, StartsWith(server.url() + "/tobrel/s/"));
    EXPECT_EQ(message(made), "Link copied to the clipboard:\n" + url + "\nExpires Jan 22, 2030.");
    EXPECT_THAT(infoLines(made), ElementsAre("share created, expires in 7 day(s)"));

    Ended copied = act(user, share, waitForButton("Copy Link") + key("\r") + waitForText("Link copied"));
    form = sheetWith(copied, "Copy Link");
    EXPECT_EQ(texts(form)[1], "This already has a live link. Expires Jan 22, 2030.");
    EXPECT_EQ(texts(form)[2], url);
    EXPECT_THAT(titles(form), ElementsAre("Cancel", "Copy Link", "New Link"));
    EXPECT_EQ(heightOf(form), 236);
    EXPECT_THAT(values(copied, "clipboard", "text"), ElementsAre(url));
    EXPECT_EQ(message(copied), "Link copied to the clipboard:\n" + url);
    EXPECT_THAT(infoLines(copied), ElementsAre("existing share link copied"));

    Program second = start(user, share);
    form = sheetWith(second, "New Link");
    second.write(type(views(form, "field").at(0), "no number") + click("Link expires after") + click("New Link") +
                 waitForText("Link copied"));
    Ended unlimited = finish(second);
    EXPECT_FALSE(views(sheetWith(unlimited, "no number"), "field").at(0).at("enabled").as_bool());
    EXPECT_THAT(message(unlimited), EndsWith("\nThis link does not expire."));
    EXPECT_THAT(infoLines(unlimited), ElementsAre("share created, expires in 0 day(s)"));

    auto log = server.log();
    std::erase_if(log, [](const std::string& line) { return !line.starts_with("POST /tobrel/api/shares 200"); });
    EXPECT_THAT(log, ElementsAre(EndsWith(R"("expires_in_days":7})"),
                                 EndsWith(R"({"name":"report.pdf","keys":["ann@tobrel.test/report.pdf"]})")));
}

TEST(ShareCommand, BeepsAndSendsNothingWhereTheDaysAreNone) {
    ScriptedTobrel tobrel;
    tobrel.answers("/tobrel/api/shares/find", R"({"shares":[{"url":"https://tobrel.test/s/0"}]})");
    Program program = start(tobrel.installation, {"share", "id:file"});
    auto form = sheetWith(program, "New Link");
    auto days = views(form, "field").at(0);
    EXPECT_FALSE(days.contains("focused"));
    Words refused{"", "0", "-3", "3651", "7.5", "seven", "99999999999999999999"};
    for (const auto& text : refused) program.write(type(days, text) + click("New Link"));
    Ended ended = finish(program);
    EXPECT_EQ(ended.events("beep").size(), refused.size());
    auto last = ended.events("sheet").back();
    EXPECT_EQ(titles(last), titles(form));
    EXPECT_TRUE(views(last, "field").at(0).contains("focused"));
    EXPECT_THAT(tobrel.asked(), ElementsAre("GET /tobrel/api/item?id=file", "POST /tobrel/api/shares/find"));
}

TEST(ShareCommand, CoversTheFilesOrElseTheOneFolderOfTheSelection) {
    ScriptedTobrel tobrel;
    describeItems(tobrel);

    struct Case {
        Words items;
        const char *name, *covered;
    };
    for (const auto& [items, name, covered] : {
             Case{{"id:file"}, "report.pdf", R"({"keys":["ann/Docs/report.pdf"]})"},
             Case{{"id:file", "id:file"},
                  "2 files from Tobrel",
                  R"({"keys":["ann/Docs/report.pdf","ann/Docs/report.pdf"]})"},
             Case{{"id:folder", "id:file", "id:photos"},
                  "report.pdf (folders skipped)",
                  R"({"keys":["ann/Docs/report.pdf"]})"},
             Case{{"id:folder"}, "Projects", R"({"folder_prefix":"Work/Projects/"})"},
             Case{{"id:gone", "id:folder", "id:keyless", "id:pathless", "id:unknown"},
                  "Projects",
                  R"({"folder_prefix":"Work/Projects/"})"},
         }) {
        Ended ended = act(tobrel.installation, commandLine("share", items),
                          linkForm(click("Create Link") + waitForText("Link copied")));
        EXPECT_EQ(texts(sheetWith(ended, "Create Link"))[0], "Share link for “" + std::string(name) + "”");
        auto requests = tobrel.server.requests();
        auto body = boost::json::parse(requests.back().body()).as_object();
        EXPECT_EQ(body.at("name").as_string(), name);
        EXPECT_EQ(body.at("expires_in_days").as_int64(), 30);
        body.erase("name");
        body.erase("expires_in_days");
        EXPECT_EQ(body, boost::json::parse(covered));
        EXPECT_EQ(boost::json::parse(requests[requests.size() - 2].body()), boost::json::parse(covered));
        EXPECT_EQ(message(ended), created("This link does not expire."));
    }
}

TEST(ShareCommand, SaysWhyThereIsNothingToShare) {
    ScriptedTobrel tobrel;
    describeItems(tobrel);
    std::string nothing = "Nothing here can be shared.";
    for (const auto& [items, shown] : std::vector<std::pair<Words, std::string>>{
             {{}, nothing},
             {{"id:unknown"}, nothing},
             {{"id:keyless", "id:pathless"}, nothing},
             {{"id:folder", "id:photos"}, nothing},
             {{"id:folder", "id:gone", "id:photos"}, "Not there any more."},
             {{"id:gone", "id:gone"}, "Not there any more."},
         }) {
        EXPECT_EQ(message(act(tobrel.installation, commandLine("share", items), waitForText(shown))), shown);
    }
}

TEST(ShareCommand, TakesTheFirstUsableLinkAndReportsOneWithoutAnAddress) {
    ScriptedTobrel tobrel;
    tobrel.answers("/tobrel/api/shares/find", R"({"error":"No."})", 500);
    tobrel.answers("/tobrel/api/shares", "{}");
    Ended failed = act(tobrel.installation, {"share", "id:file"},
                       linkForm(click("Create Link") + waitForText("Could not create")));
    EXPECT_EQ(message(failed), "Could not create the share link: unknown error");
    EXPECT_TRUE(failed.events("clipboard").empty());

    tobrel.answers("/tobrel/api/shares/find",
                   R"({"shares":[{"id":1},{"url":"https://tobrel.test/s/2","expires_at":7},{"url":"no"}]})");
    Ended copied = act(tobrel.installation, {"share", "id:file"},
                       waitForButton("Copy Link") + click("Copy Link") + waitForText("Link copied"));
    EXPECT_THAT(values(copied, "clipboard", "text"), ElementsAre("https://tobrel.test/s/2"));
    EXPECT_EQ(texts(sheetWith(copied, "Copy Link"))[1], "This already has a live link. This link does not expire.");
}

TEST(ShareCommand, TellsTheExpiryInTheUsersLanguageAndTimeZone) {
    ScriptedTobrel tobrel;
    struct Case {
        const char *all, *time, *language, *zone, *expires, *sentence;
    };
    constexpr const char* lateEvening = "2030-01-15 23:30:00";
    for (auto [all, time, language, zone, expires, sentence] : {
             Case{"C.UTF-8", "de_DE.UTF-8", "", "UTC", lateEvening, "Expires Jan 15, 2030."},
             Case{"C.UTF-8", "", "", "Asia/Tokyo", lateEvening, "Expires Jan 16, 2030."},
             Case{"C.UTF-8", "", "", "America/New_York", "2030-01-15 03:00:00", "Expires Jan 14, 2030."},
             Case{"", "de_DE.UTF-8", "en_US.UTF-8", "Europe/Berlin", lateEvening, "Expires 16.01.2030."},
             Case{"", "", "fr_FR.UTF-8", "UTC", lateEvening, "Expires 15 janv. 2030."},
             Case{"fr_FR.UTF-8", "", "", "UTC", "2030-01-15T12:00:00Z", "Expires 2030-01-15T12:00:00Z UTC."},
         }) {
        EnvironmentVariable first("LC_ALL", all);
        EnvironmentVariable second("LC_TIME", time);
        EnvironmentVariable third("LANG", language);
        EnvironmentVariable fourth("TZ", zone);
        tobrel.answers("/tobrel/api/shares",
                       R"({"url":"https://tobrel.test/s/1","expires_at":")" + std::string(expires) + "\"}");
        Ended ended =
            act(tobrel.installation, {"share", "id:file"}, linkForm(click("Create Link") + waitForText("Link copied")));
        EXPECT_EQ(message(ended), created(sentence)) << zone;
    }
}

}  // namespace tobrel::testing
