#include <gtest/gtest.h>

#include <sstream>

#include "api/api.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

class EndpointsTest : public ::testing::Test {
protected:
    // Every completion tells here what it got.
    std::function<void(API::Item)> item() {
        return [this](const API::Item& item) {
            tell({item.key.value_or("-"), item.path.value_or("-"), item.isFolder ? "folder" : "file",
                  item.error.value_or("-")});
        };
    }
    std::function<void(ApiResult)> result() {
        return [this](const ApiResult& result) { tell({result.json ? "json" : "-", result.error.value_or("-")}); };
    }
    std::function<void(std::vector<API::ShareLink>)> links() {
        return [this](const std::vector<API::ShareLink>& links) {
            Lines words;
            for (auto& link : links) words.push_back(link.url + " until " + link.expiresAt.value_or("-"));
            tell(words);
        };
    }
    std::function<void(API::CreatedShare)> share() {
        return [this](const API::CreatedShare& share) {
            tell({share.url.value_or("-"), share.expiresAt.value_or("-"), share.error.value_or("-")});
        };
    }

    FakePlatform world;
    Lines told;

private:
    void tell(const Lines& words) {
        std::string line;
        for (auto& word : words) line += (line.empty() ? "" : ", ") + word;
        told.push_back(line);
    }
};

TEST_F(EndpointsTest, SendTheirWireFormats) {
    world.configure("https://h");
    API::lookup("a&b#c", item());
    API::grants("f&1", result());
    API::createGrant("f\"1", "bob@x", "write", result());
    API::revokeGrant("g&1", result());
    API::findShares({"b", "a"}, std::nullopt, links());
    API::findShares({}, "", links());
    API::findShares({"a"}, "Docs/", links());
    API::createShare("N", {"a"}, std::nullopt, 7, share());
    API::createShare("N", {"a"}, "Docs", -1, share());
    API::createShare("N", {}, std::nullopt, 0, share());
    EXPECT_EQ(
        world.urlSession.lines(),
        (Lines{"GET https://h/tobrel/api/item?id=a&b#c", "GET https://h/tobrel/api/grants?folder_id=f&1",
               R"(POST https://h/tobrel/api/grants {"folder_id":"f\"1","email":"bob@x","role":"write"})",
               "DELETE https://h/tobrel/api/grants/g&1", R"(POST https://h/tobrel/api/shares/find {"keys":["b","a"]})",
               R"(POST https://h/tobrel/api/shares/find {"keys":[]})",
               R"(POST https://h/tobrel/api/shares/find {"folder_prefix":"Docs/"})",
               R"(POST https://h/tobrel/api/shares {"name":"N","keys":["a"],"expires_in_days":7})",
               R"(POST https://h/tobrel/api/shares {"name":"N","folder_prefix":"Docs"})",
               R"(POST https://h/tobrel/api/shares {"name":"N","keys":[]})"}));
    EXPECT_TRUE(told.empty());
}

TEST_F(EndpointsTest, ReadTheirAnswers) {
    world.configure();
    const auto lookup = [this] { API::lookup("a", item()); };
    const auto find = [this] { API::findShares({}, std::nullopt, links()); };
    const auto create = [this] { API::createShare("N", {}, std::nullopt, 0, share()); };
    const auto revoke = [this] { API::revokeGrant("g", result()); };
    struct {
        std::function<void()> ask;
        URLSessionAnswer answer;
        const char* told;
    } const cases[] = {
        {lookup, answered(200, R"({"key":"K","path":"P","is_folder":true})"), "K, P, folder, -"},
        {lookup, answered(200, R"({"key":"K"})"), "K, -, file, -"},
        {lookup, answered(200, R"({"key":1,"path":null,"is_folder":"true"})"), "-, -, file, -"},
        {lookup, answered(200, R"({"is_folder":1})"), "-, -, folder, -"},
        {lookup, answered(200, R"({"is_folder":0.5})"), "-, -, folder, -"},
        {lookup, answered(200, R"({"is_folder":0})"), "-, -, file, -"},
        {lookup, answered(404, R"({"error":"gone","key":"K"})"), "-, -, file, gone"},
        {revoke, answered(200, "{}"), "json, -"},
        {revoke, answered(204, ""), "-, Tobrel answered HTTP 204"},
        {find,
         answered(200, R"({"shares":[{"url":"u","expires_at":"e"},{"expires_at":"e"},{"url":"v","expires_at":7}]})"),
         "u until e, v until -"},
        {find, answered(200, R"({"shares":[{"url":"u"},"v"]})"), ""},
        {find, answered(200, R"({"shares":{"url":"u"}})"), ""},
        {find, answered(500, R"({"error":"x"})"), ""},
        {create, answered(200, R"({"url":"u","expires_at":"e"})"), "u, e, -"},
        {create, answered(200, R"({"url":7,"expires_at":null})"), "-, -, -"},
        {create, unreachable("No."), "-, -, Could not reach Tobrel: No."},
    };
    for (std::size_t each = 0; each < std::size(cases); ++each) {
        told.clear();
        cases[each].ask();
        world.urlSession.answer(each, cases[each].answer);
        EXPECT_EQ(told, Lines{cases[each].told}) << each;
    }
}

TEST_F(EndpointsTest, TellAtOnceThatNothingIsSetUp) {
    API::lookup("a", item());
    API::grants("f", result());
    API::createGrant("f", "bob@x", "read", result());
    API::revokeGrant("g", result());
    API::findShares({}, std::nullopt, links());
    API::createShare("N", {}, std::nullopt, 0, share());
    const std::string message = "Tobrel is not set up on this Mac";
    EXPECT_EQ(told, (Lines{"-, -, file, " + message, "-, " + message, "-, " + message, "-, " + message, "",
                           "-, -, " + message}));
    EXPECT_TRUE(world.urlSession.requests().empty());
    EXPECT_TRUE(world.log.lines().empty());
}

}  // namespace tobrel::testing
