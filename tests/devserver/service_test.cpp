#include "devserver/service.h"

#include <gmock/gmock.h>

#include "support/temporary_folder.h"

namespace tobrel::devserver {
namespace {

namespace json = boost::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* ann = "ann@tobrel.test";
constexpr const char* bob = "bob@tobrel.test";
constexpr const char* carl = "carl@tobrel.test";
constexpr Instant noon = 1893672000;  // 2030-01-03 12:00:00

class DevserverService : public ::testing::Test {
protected:
    DevserverService() {
        for (const char* file : {"ann@tobrel.test/Docs/Reports/q1.pdf", "ann@tobrel.test/Docs/plan.txt",
                                 "bob@tobrel.test/Docs/Reports/b.txt", "carl@tobrel.test/c.txt"}) {
            auto path = folder_.path() / file;
            std::filesystem::create_directories(path.parent_path());
            tobrel::testing::writeFile(path, "content");
        }
        startAt(noon);
    }

    // The same data, another time.
    void startAt(Instant now) { service_.emplace(accounts_, storage_, database_, Clock(now), "http://127.0.0.1:8080"); }

    Answer ask(const char* user, const std::string& method, const std::string& target, const json::object& body = {}) {
        return service_->answer(
            {method, "/tobrel/api" + target, method == "POST" ? json::serialize(body) : "", accounts_.withEmail(user)});
    }

    Answer share(const char* user, const std::string& path, const std::string& email, const std::string& role) {
        return ask(user, "POST", "/grants",
                   {{"folder_id", identifierOf(user, path)}, {"email", email}, {"role", role}});
    }
    Answer item(const char* user, const std::string& path) {
        return ask(user, "GET", "/item?id=" + identifierOf(user, path));
    }
    std::string createLink(const json::object& body) {
        auto answer = ask(ann, "POST", "/shares", body);
        return answer.status == 200 ? text(answer.body["url"]) : text(answer.body["error"]);
    }
    std::vector<std::string> findLinks(const json::object& body) {
        std::vector<std::string> urls;
        auto answer = ask(ann, "POST", "/shares/find", body);
        for (auto& link : answer.body["shares"].as_array()) urls.push_back(text(link.at("url")));
        return urls;
    }
    static std::string text(const json::value& value) { return json::value_to<std::string>(value); }

    tobrel::testing::TemporaryFolder folder_;
    Accounts accounts_{{{ann, "a"}, {bob, "b"}, {carl, "c"}}};
    Storage storage_{folder_.path()};
    Database database_{":memory:"};
    std::optional<Service> service_;
};

TEST_F(DevserverService, describesAnItemToThoseWhoSeeIt) {
    share(ann, "Docs/Reports", bob, "read");
    const std::tuple<const char*, const char*, bool, const char*> seen[] = {
        {ann, "", true, "ann@tobrel.test/"},
        {ann, "Docs/plan.txt", false, "ann@tobrel.test/Docs/plan.txt"},
        {bob, "Shared with me/Reports/q1.pdf", false, "ann@tobrel.test/Docs/Reports/q1.pdf"},
    };
    for (const auto& [user, path, isFolder, key] : seen)
        EXPECT_EQ(item(user, path).body, (json::object{{"path", path}, {"is_folder", isFolder}, {"key", key}}));
    EXPECT_FALSE(item(ann, "Shared with me").body.contains("key"));
    EXPECT_EQ(item(bob, "Docs/plan.txt").status, 404);
    EXPECT_EQ(item(carl, "Shared with me/Reports").status, 404);
    // Somebody else's identifier is not one's own.
    EXPECT_EQ(ask(carl, "GET", "/item?id=" + identifierOf(ann, "Docs")).status, 404);
}

TEST_F(DevserverService, followsTheStorageOnDisk) {
    EXPECT_EQ(item(ann, "Docs/plan.txt").status, 200);
    std::filesystem::remove(folder_.path() / ann / "Docs/plan.txt");
    EXPECT_EQ(item(ann, "Docs/plan.txt").status, 404);

    std::filesystem::create_symlink("/etc/passwd", folder_.path() / ann / "passwd");
    EXPECT_EQ(service_->listing(*accounts_.withEmail(ann), "../" + std::string(bob)).status, 404);
    EXPECT_THAT(json::serialize(service_->listing(*accounts_.withEmail(ann), "").body), Not(HasSubstr("passwd")));
}

TEST_F(DevserverService, showsAGrantToBothSides) {
    EXPECT_EQ(share(ann, "Docs", "Bob@Tobrel.Test", "read").status, 200);
    EXPECT_EQ(share(ann, "Docs", carl, "read").status, 200);
    EXPECT_EQ(share(ann, "Docs", bob, "write").status, 200);
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {ann, "Docs",
         R"({"role":"owner","given":[{"id":"1","email":"bob@tobrel.test","role":"write"},)"
         R"({"id":"2","email":"carl@tobrel.test","role":"read"}]})"},
        {ann, "Docs/Reports", R"({"role":"owner","given":[]})"},
        {bob, "Shared with me/Docs",
         R"({"role":"write","given":[],"received":{"id":"1","owner_email":"ann@tobrel.test","role":"write",)"
         R"("is_top":true,"folder_name":"Docs"}})"},
        {carl, "Shared with me/Docs/Reports",
         R"({"role":"read","given":[],"received":{"id":"2","owner_email":"ann@tobrel.test","role":"read",)"
         R"("is_top":false,"folder_name":"Docs"}})"},
        {bob, "Docs", R"({"role":"owner","given":[]})"},
    };
    for (const auto& [user, path, body] : cases)
        EXPECT_EQ(ask(user, "GET", "/grants?folder_id=" + identifierOf(user, path)).body, json::parse(body)) << path;
}

TEST_F(DevserverService, givesReceivedFoldersOfOneNameDifferentNames) {
    share(ann, "Docs/Reports", carl, "read");
    share(bob, "Docs/Reports", carl, "read");
    EXPECT_EQ(item(carl, "Shared with me/Reports/q1.pdf").status, 200);
    EXPECT_EQ(item(carl, "Shared with me/Reports 2/b.txt").status, 200);
}

TEST_F(DevserverService, refusesToShareWhatCannotBeShared) {
    share(ann, "Docs", bob, "write");
    const std::tuple<const char*, const char*, const char*, const char*, int, const char*> cases[] = {
        {ann, "Docs", ann, "read", 400, "yours already"},
        {ann, "Docs", "dora@tobrel.test", "read", 404, "dora@tobrel.test has no Tobrel account."},
        {ann, "Docs", bob, "admin", 400, "for reading or for writing"},
        {ann, "Docs/plan.txt", bob, "read", 400, "Only folders"},
        {ann, "", bob, "read", 400, "The whole storage"},
        {ann, "Shared with me", bob, "read", 400, "Only folders"},
        {ann, "Gone", bob, "read", 404, "any more"},
        {bob, "Shared with me/Docs/Reports", carl, "read", 403, "Only ann@tobrel.test can share “Reports”"},
    };
    for (const auto& [user, path, email, role, status, sentence] : cases) {
        auto answer = share(user, path, email, role);
        EXPECT_EQ(answer.status, status) << sentence;
        EXPECT_THAT(text(answer.body["error"]), HasSubstr(sentence));
    }
}

TEST_F(DevserverService, endsAGrantForItsTwoSidesOnly) {
    const std::tuple<const char*, int, int> cases[] = {{carl, 404, 200}, {ann, 200, 404}, {bob, 200, 404}};
    for (const auto& [user, status, itemStatus] : cases) {
        auto id = text(share(ann, "Docs", bob, "read").body["id"]);
        EXPECT_EQ(item(bob, "Shared with me/Docs").status, 200);
        EXPECT_EQ(ask(user, "DELETE", "/grants/" + id).status, status) << user;
        EXPECT_EQ(item(bob, "Shared with me/Docs").status, itemStatus) << user;
    }
}

TEST_F(DevserverService, findsLiveLinksForExactlyTheSameCover) {
    const json::value plan = "ann@tobrel.test/Docs/plan.txt", q1 = "ann@tobrel.test/Docs/Reports/q1.pdf";
    auto both = createLink({{"name", "both"}, {"keys", {plan, q1}}, {"expires_in_days", 1}});
    auto bothForever = createLink({{"name", "both"}, {"keys", {q1, plan}}});
    auto folder = createLink({{"name", "Docs"}, {"folder_prefix", "Docs"}, {"expires_in_days", 3650}});

    EXPECT_THAT(findLinks({{"keys", {q1, plan}}}), ElementsAre(bothForever, both));
    EXPECT_THAT(findLinks({{"keys", json::array{plan}}}), IsEmpty());
    EXPECT_THAT(findLinks({{"keys", json::array{}}}), IsEmpty());
    EXPECT_THAT(findLinks({{"folder_prefix", "/Docs/"}}), ElementsAre(folder));
    EXPECT_THAT(findLinks({{"folder_prefix", "Docs/Reports"}}), IsEmpty());
    EXPECT_EQ(ask(bob, "POST", "/shares/find", {{"folder_prefix", "Docs"}}).body["shares"], json::array{});

    auto found = ask(ann, "POST", "/shares/find", {{"keys", {plan, q1}}}).body["shares"].as_array();
    EXPECT_FALSE(found[0].as_object().contains("expires_at"));
    EXPECT_EQ(found[1].at("expires_at"), "2030-01-04 12:00:00");

    startAt(noon + 86400);
    EXPECT_THAT(findLinks({{"keys", {plan, q1}}}), ElementsAre(bothForever));
    auto idOf = [](const std::string& url) { return url.substr(url.rfind('/') + 1); };
    EXPECT_FALSE(service_->linkContent(idOf(both))->live);
    EXPECT_EQ(service_->linkContent(idOf(bothForever))->entries.size(), 2u);
    EXPECT_FALSE(service_->linkContent("nonsense"));
}

TEST_F(DevserverService, refusesLinksThatCannotBeMade) {
    const std::pair<json::object, const char*> cases[] = {
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 0}}, "1 to 3650 days"},
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 3651}}, "1 to 3650 days"},
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 1.5}}, "1 to 3650 days"},
        {{{"name", "nothing"}}, "neither files nor a folder"},
        {{{"keys", json::array{}}}, "Choose a file"},
        {{{"keys", json::array{7}}}, "not text"},
        {{{"keys", json::array{"ann@tobrel.test/Docs"}}}, "any more"},
        {{{"keys", json::array{"bob@tobrel.test/Docs/Reports/b.txt"}}}, "your own"},
        {{{"folder_prefix", "Shared with me/Reports"}}, "your own"},
        {{{"folder_prefix", "Docs/plan.txt"}}, "any more"},
        {{{"folder_prefix", "../bob@tobrel.test/Docs"}}, "any more"},
    };
    for (const auto& [body, sentence] : cases) EXPECT_THAT(createLink(body), HasSubstr(sentence)) << body;
    EXPECT_EQ(service_->answer({"POST", "/tobrel/api/shares", "[]", accounts_.withKey("a")}).status, 400);
}

}  // namespace
}  // namespace tobrel::devserver
