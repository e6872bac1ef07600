#include <gmock/gmock.h>

#include "devserver/service.h"
#include "support/temporary_folder.h"

namespace tobrel::devserver {
namespace {

namespace json = boost::json;
using ::testing::HasSubstr;

constexpr const char* ann = "ann@tobrel.test";
constexpr const char* bob = "bob@tobrel.test";
constexpr const char* carl = "carl@tobrel.test";

// What the demo does not come across; all else about the development server is shown by the demo.
class DevserverRefusal : public ::testing::Test {
protected:
    DevserverRefusal() {
        for (const char* file :
             {"ann@tobrel.test/Docs/plan.txt", "ann@tobrel.test/Docs/Reports/q1.pdf", "bob@tobrel.test/Docs/b.txt"}) {
            auto path = folder_.path() / file;
            std::filesystem::create_directories(path.parent_path());
            tobrel::testing::writeFile(path, "content");
        }
    }

    Answer ask(const char* user, const std::string& target, const json::object& body) {
        return service_.answer({"POST", "/tobrel/api" + target, json::serialize(body), accounts_.withEmail(user)});
    }
    Answer share(const char* user, const std::string& path, const std::string& email, const std::string& role) {
        return ask(user, "/grants", {{"folder_id", identifierOf(user, path)}, {"email", email}, {"role", role}});
    }
    static std::string reason(const Answer& answer) { return json::value_to<std::string>(answer.body.at("error")); }

    tobrel::testing::TemporaryFolder folder_;
    Accounts accounts_{{{ann, "a"}, {bob, "b"}, {carl, "c"}}};
    Storage storage_{folder_.path()};
    Database database_{":memory:"};
    Service service_{accounts_, storage_, database_, Clock(1893672000), "http://127.0.0.1:8080"};
};

TEST_F(DevserverRefusal, OfAFolderThatCannotBeShared) {
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
        EXPECT_THAT(reason(answer), HasSubstr(sentence));
    }
}

TEST_F(DevserverRefusal, OfALinkThatCannotBeMade) {
    const std::pair<json::object, const char*> cases[] = {
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 0}}, "1 to 3650 days"},
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 3651}}, "1 to 3650 days"},
        {{{"folder_prefix", "Docs"}, {"expires_in_days", 1.5}}, "1 to 3650 days"},
        {{{"name", "nothing"}}, "neither files nor a folder"},
        {{{"keys", json::array{}}}, "Choose a file"},
        {{{"keys", json::array{7}}}, "not text"},
        {{{"keys", json::array{"ann@tobrel.test/Docs"}}}, "any more"},
        {{{"keys", json::array{"bob@tobrel.test/Docs/b.txt"}}}, "your own"},
        {{{"folder_prefix", "Shared with me/Reports"}}, "your own"},
        {{{"folder_prefix", "Docs/plan.txt"}}, "any more"},
        {{{"folder_prefix", "../bob@tobrel.test/Docs"}}, "any more"},
        {{{"folder_prefix", "link/Docs"}}, "any more"},
    };
    std::filesystem::create_directory_symlink(folder_.path() / bob, folder_.path() / ann / "link");
    for (const auto& [body, sentence] : cases) EXPECT_THAT(reason(ask(ann, "/shares", body)), HasSubstr(sentence));
}

}  // namespace
}  // namespace tobrel::devserver
