#include <gtest/gtest.h>

#include "api/api.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST(Endpoints, SendTheirWireFormats) {
    FakePlatform world;
    world.configure("https://h");
    const auto ignored = [](const auto&) {};
    API::lookup("a&b#c", ignored);
    API::grants("f&1", ignored);
    API::createGrant("f\"1", "bob@x", "write", ignored);
    API::revokeGrant("g&1", ignored);
    API::findShares({"b", "a"}, "", ignored);
    API::findShares({"a"}, "Docs/", ignored);
    API::createShare("N", {}, std::nullopt, 7, ignored);
    API::createShare("N", {"a"}, "Docs", -1, ignored);
    EXPECT_EQ(
        world.urlSession.lines(),
        (Lines{"GET https://h/tobrel/api/item?id=a&b#c", "GET https://h/tobrel/api/grants?folder_id=f&1",
               R"(POST https://h/tobrel/api/grants {"folder_id":"f\"1","email":"bob@x","role":"write"})",
               "DELETE https://h/tobrel/api/grants/g&1", R"(POST https://h/tobrel/api/shares/find {"keys":["b","a"]})",
               R"(POST https://h/tobrel/api/shares/find {"folder_prefix":"Docs/"})",
               R"(POST https://h/tobrel/api/shares {"name":"N","keys":[],"expires_in_days":7})",
               R"(POST https://h/tobrel/api/shares {"name":"N","folder_prefix":"Docs"})"}));
}

TEST(Endpoints, ThatWaitTogetherShareOneReadingOfServerAndKeyMadeAfterTheyWereAsked) {
    FakePlatform world;
    world.requestQueue.holds = true;
    std::vector<std::optional<std::string>> errors;
    const auto ask = [&] { API::lookup("a", [&](const API::Item& item) { errors.push_back(item.error); }); };
    ask();
    EXPECT_TRUE(errors.empty()) << "returned at once";
    world.requestQueue.runBatch();
    EXPECT_EQ(errors, (decltype(errors){API::notSetUp}));
    for (const char* key : {"first", "second"}) {
        ask();
        world.configure("https://h", key);
        ask();
        world.files.opened = 0;
        world.requestQueue.runBatch();
        EXPECT_EQ(world.files.opened, 2) << "once for the server, once for the key";
        EXPECT_EQ(world.urlSession.requests().back().headers.front().second, key);
    }
    EXPECT_EQ(world.urlSession.requests().size(), 4u);
}

TEST(Endpoints, TakeAMemberOfAnotherTypeAsAbsent) {
    FakePlatform world;
    world.configure();
    std::string told;
    const auto item = [&](int status, const char* answer) {
        API::lookup("a", [&](const API::Item& item) {
            told = item.key.value_or("-") + (item.isFolder ? " folder " : " file ") + item.path.value_or("-") + " " +
                   item.error.value_or("-");
        });
        world.urlSession.answerLast(answered(status, answer));
        return told;
    };
    EXPECT_EQ(item(200, R"({"key":"K","path":"P","is_folder":true})"), "K folder P -");
    EXPECT_EQ(item(200, R"({"key":1,"path":null,"is_folder":"true"})"), "- file - -");
    EXPECT_EQ(item(200, R"({"is_folder":0.5})"), "- folder - -");
    EXPECT_EQ(item(200, R"({"key":"K","is_folder":0})"), "K file - -");
    EXPECT_EQ(item(404, R"({"key":"K","error":"gone"})"), "- file - gone");

    const auto links = [&](const char* shares) {
        API::findShares({}, std::nullopt, [&](const std::vector<API::ShareLink>& links) {
            told.clear();
            for (auto& link : links) told += link.url + " " + link.expiresAt.value_or("-") + ", ";
        });
        world.urlSession.answerLast(answered(200, R"({"shares":)" + std::string(shares) + "}"));
        return told;
    };
    EXPECT_EQ(links(R"([{"url":"u","expires_at":"e"},{"url":1},{"url":"v","expires_at":7}])"), "u e, v -, ");
    EXPECT_EQ(links(R"([{"url":"u"},"v"])"), "");
}

}  // namespace tobrel::testing
