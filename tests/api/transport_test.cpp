#include <gtest/gtest.h>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include "api/api.h"
#include "api/client_header.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

class TransportTest : public ::testing::Test {
protected:
    FakePlatform world;
};

// The answer's object as text, or its message behind "error: ".
std::string told(const ApiResult& result) {
    EXPECT_NE(result.json != nullptr, result.error.has_value());
    return result.json ? boost::json::serialize(*result.json) : "error: " + result.error.value_or("none");
}

TEST_F(TransportTest, ReducesEveryOutcomeToAnObjectOrAMessage) {
    const std::string deep = "{\"a\":" + std::string(511, '[') + std::string(511, ']') + "}";
    const std::string tooDeep = "{\"a\":" + std::string(512, '[') + std::string(512, ']') + "}";
    const std::string unreadable = "error: Tobrel sent an unreadable answer";
    struct {
        URLSessionAnswer answer;
        std::string told;
        std::string logged;
    } const cases[] = {
        {answered(200, R"( {"a": [1, null]} )"), R"({"a":[1,null]})", ""},
        {answered(200, R"({"error":"not an error"})"), R"({"error":"not an error"})", ""},
        {answered(200, deep), deep, ""},
        {answered(200, tooDeep), unreadable, "-> unreadable response"},
        {answered(200, ""), unreadable, "-> unreadable response"},
        {{.statusCode = 200}, unreadable, "-> unreadable response"},
        {answered(200, "[]"), unreadable, "-> unreadable response"},
        {answered(200, "{} {}"), unreadable, "-> unreadable response"},
        {answered(200, "{\"a\":1,}"), unreadable, "-> unreadable response"},
        {answered(200, "{\"a\":\"\xFF\"}"), unreadable, "-> unreadable response"},
        {answered(200, "<html>"), unreadable, "-> unreadable response"},
        {answered(201, "{}"), "error: Tobrel answered HTTP 201", "-> HTTP 201"},
        {answered(404, R"({"error":"No such item"})"), "error: No such item", "-> HTTP 404"},
        {answered(403, R"({"error":""})"), "error: ", "-> HTTP 403"},
        {answered(500, R"({"error":7})"), "error: Tobrel answered HTTP 500", "-> HTTP 500"},
        {answered(503, "busy"), "error: Tobrel answered HTTP 503", "-> HTTP 503"},
        {{.data = "{}"}, "error: Tobrel answered HTTP 0", "-> HTTP 0"},
        {unreachable("The server took too long."), "error: Could not reach Tobrel: The server took too long.",
         "failed: The server took too long."},
        {{.data = "{}", .statusCode = 200, .error = NSError{"NSURLErrorDomain", -1005}},
         "error: Could not reach Tobrel: The operation couldn’t be completed. (NSURLErrorDomain error -1005.)",
         "failed: The operation couldn’t be completed. (NSURLErrorDomain error -1005.)"},
    };
    for (std::size_t each = 0; each < std::size(cases); ++each) {
        world.log.clear();
        std::string result;
        API::send({.url = "https://h/x"}, [&](const ApiResult& answer) { result = told(answer); });
        world.urlSession.answer(each, cases[each].answer);
        EXPECT_EQ(result, cases[each].told);
        EXPECT_EQ(world.log.lines(),
                  cases[each].logged.empty() ? Lines{} : Lines{"error: https://h/x " + cases[each].logged});
    }
}

TEST_F(TransportTest, LogsARequestWithoutAnAddressUnderAQuestionMark) {
    API::send({}, [](const ApiResult&) {});
    world.urlSession.answer(0, answered(500, ""));
    EXPECT_EQ(world.log.lines(), (Lines{"error: ? -> HTTP 500"}));
}

TEST_F(TransportTest, BuildsAuthenticatedRequestsThatShowOnlyTheLengthOfTheKey) {
    world.configure("https://h/base//", "se\u0301cret\\r\\n");
    boost::json::object body{{"days", 7}, {"name", "a/b ü"}};
    auto built = API::request("/tobrel/api/shares", "POST", &body).value();
    EXPECT_EQ(built.url, "https://h/base/tobrel/api/shares");
    EXPECT_EQ(built.httpMethod, "POST");
    EXPECT_EQ(built.timeoutInterval, 30);
    EXPECT_EQ(built.headers, (decltype(built.headers){{"X-API-Key", "se\u0301cret\r\n"},
                                                      {"X-Tobrel-Client", tobrelClientHeader()},
                                                      {"Content-Type", "application/json"}}));
    EXPECT_EQ(built.httpBody, R"({"days":7,"name":"a/b ü"})");
    EXPECT_EQ(world.log.lines(), (Lines{"error: POST https://h/base/tobrel/api/shares (key 8 chars)"}));

    world.configure("https://h", "");
    auto bare = API::request("/x?id=%20&y", "DELETE").value();
    EXPECT_EQ(bare.headers, (decltype(bare.headers){{"X-API-Key", ""}, {"X-Tobrel-Client", tobrelClientHeader()}}));
    EXPECT_FALSE(bare.httpBody);
    EXPECT_EQ(world.log.lines().back(), "error: DELETE https://h/x?id=%20&y (key 0 chars)");
}

TEST_F(TransportTest, SendsNoBodyThatIsNotUtf8) {
    world.configure();
    boost::json::object body{{"email", "\xFF@x"}};
    auto built = API::request("/x", "POST", &body).value();
    EXPECT_FALSE(built.httpBody);
    EXPECT_EQ(built.headers.back().first, "Content-Type");
}

TEST_F(TransportTest, BuildsNothingWithoutAnAddressThatParses) {
    world.configure("");
    EXPECT_FALSE(API::request("/x", "GET"));
    world.configure("https://h");
    EXPECT_FALSE(API::request("/x?id=a b", "GET"));
    world.configure(" https://h");
    EXPECT_FALSE(API::request("/x", "GET"));
    EXPECT_TRUE(world.log.lines().empty());
}

TEST(ClientHeader, IsMadeFromTheTextsOfTheInformationDictionary) {
    struct {
        InfoDictionary dictionary;
        const char* header;
    } const cases[] = {
        {{}, "macos/0 (0); Tobrel"},
        {{{"CFBundleShortVersionString", "1.4"},
          {"CFBundleVersion", "27"},
          {"CFBundleExecutable", "Foo"},
          {"CFBundleName", "Bar"}},
         "macos/1.4 (27); Foo"},
        {{{"CFBundleShortVersionString", 1.4},
          {"CFBundleVersion", true},
          {"CFBundleExecutable", 7.0},
          {"CFBundleName", "Bar"}},
         "macos/0 (0); Bar"},
    };
    for (const auto& c : cases) EXPECT_EQ(clientHeader(c.dictionary), c.header);
}

}  // namespace tobrel::testing
