#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>

#include <gtest/gtest.h>

#include "api/api.h"
#include "api/client_header.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

using Lines = std::vector<std::string>;

TEST(Transport, ReducesEveryOutcomeToAnObjectOrAMessage) {
    const auto nested = [](int levels) {
        return R"({"a":)" + std::string(levels, '[') + std::string(levels, ']') + "}";
    };
    const auto list = [](std::string_view element, int count) {
        std::string text = R"({"given":[)";
        for (int i = 0; i < count; ++i) text += element;
        return text + "0]}";
    };
    const std::string unreadable = "Tobrel sent an unreadable answer";
    struct {
        URLSessionAnswer answer;
        std::string told;
        std::string logged;
    } const cases[] = {
        {answered(200, R"( {"error": [1, null]} )"), R"({"error":[1,null]})", ""},
        {answered(200, nested(511)), "{}", ""},
        {answered(200, R"({"x":{"key":"y"},"key":[[{}],{"a":1,"id":2}],"key":{"id":{"id":{"id":1}}}})"),
         R"({"key":{"id":{"id":null}}})", ""},
        {answered(200, "\xEF\xBB\xBF{\"key\":\"\\ud83d\\ude00\\ud83d\"}"), "{\"key\":\"😀\uFFFD\"}", ""},
        {answered(200, list("{},", 200'000)), unreadable, "-> unreadable response"},
        {answered(200, list("1,", 2'000'000)), unreadable, "-> unreadable response"},
        {answered(200, nested(512)), unreadable, "-> unreadable response"},
        {{.statusCode = 200}, unreadable, "-> unreadable response"},
        {answered(200, "[]"), unreadable, "-> unreadable response"},
        {answered(200, "{\"a\":1,}"), unreadable, "-> unreadable response"},
        {answered(200, "{\"a\":\"\xFF\"}"), unreadable, "-> unreadable response"},
        {answered(204, ""), "Tobrel answered HTTP 204", "-> HTTP 204"},
        {answered(404, R"({"error":"No such item"})"), "No such item", "-> HTTP 404"},
        {answered(500, R"({"error":7})"), "Tobrel answered HTTP 500", "-> HTTP 500"},
        {{.data = "{}"}, "Tobrel answered HTTP 0", "-> HTTP 0"},
        {{"{}", 200, NSError{"E", 1, "It is slow."}}, "Could not reach Tobrel: It is slow.", "failed: It is slow."},
    };
    for (const auto& c : cases) {
        FakePlatform world;
        ApiResult result;
        API::send({.url = "https://h/x"}, [&](const ApiResult& given) { result = given; });
        world.urlSession.answerLast(c.answer);
        EXPECT_NE(result.json != nullptr, result.error.has_value());
        EXPECT_EQ(result.json ? boost::json::serialize(*result.json) : result.error, c.told);
        EXPECT_EQ(world.log.lines(), c.logged.empty() ? Lines{} : Lines{"error: https://h/x " + c.logged});
    }
}

TEST(Request, CarriesTheKeyAndLogsOnlyItsLength) {
    FakePlatform world;
    world.configure("https://h/base//", "se\u0301cret");
    boost::json::object body{{"days", 7}, {"name", "a/b ü"}};
    auto request = API::request("/x?id=%20", "POST", &body).value();
    EXPECT_EQ(request.timeoutInterval, 30);
    EXPECT_EQ(request.headers, (decltype(request.headers){{"X-API-Key", "se\u0301cret"},
                                                          {"X-Tobrel-Client", tobrelClientHeader()},
                                                          {"Content-Type", "application/json"}}));
    EXPECT_EQ(request.httpBody, R"({"days":7,"name":"a/b ü"})");
    EXPECT_EQ(API::request("/x", "DELETE")->headers.size(), 2u);
    EXPECT_FALSE(API::request("/x?id=a b", "GET"));
    EXPECT_EQ(world.log.lines(), (Lines{"error: POST https://h/base/x?id=%20 (key 6 chars)",
                                        "error: DELETE https://h/base/x (key 6 chars)"}));
    body["name"] = "\xFF";
    EXPECT_FALSE(API::request("/x", "POST", &body)->httpBody) << "not UTF-8";
}

TEST(ClientHeader, IsMadeFromTheTextsOfTheInformationDictionary) {
    InfoDictionary dictionary{{"CFBundleShortVersionString", 1.4}};
    EXPECT_EQ(clientHeader(dictionary), "macos/0 (0); Tobrel");
    dictionary = {{"CFBundleShortVersionString", "1.4"}, {"CFBundleVersion", "27"}, {"CFBundleName", "Bar"}};
    EXPECT_EQ(clientHeader(dictionary), "macos/1.4 (27); Bar");
    dictionary["CFBundleExecutable"] = "Foo";
    EXPECT_EQ(clientHeader(dictionary), "macos/1.4 (27); Foo");
}

}  // namespace tobrel::testing
