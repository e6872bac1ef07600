#include "admin/settings_text.h"

#include <gtest/gtest.h>

namespace tobrel::admin {

TEST(SettingsText, sets_the_member_and_leaves_every_other_byte_as_it_was) {
    std::pair<std::string, std::optional<std::string>> cases[] = {
        {"", R"({"server":"new"})"},
        {"{}", R"({"server":"new"})"},
        {"{ }\n", "{\"server\":\"new\" }\n"},
        {R"({"z":1e2,"server":"old","a":18446744073709551616,"é":"\u00e9"})",
         R"({"z":1e2,"server":"new","a":18446744073709551616,"é":"\u00e9"})"},
        {R"({"a":1})", R"({"a":1,"server":"new"})"},
        {"{\n  \"a\" : [1, {\"server\": \"x\"}, \"}\\\"\"]\n}\n",
         "{\n  \"a\" : [1, {\"server\": \"x\"}, \"}\\\"\"],\n  \"server\":\"new\"\n}\n"},
        {R"({ "server" : {"a":[1,2]} , "b" : null })", R"({ "server" : "new" , "b" : null })"},
        {R"({"\u0073erver":"old"})", R"({"\u0073erver":"new"})"},
        {R"({"server":"1","x":{},"server":"2"})", R"({"server":"1","x":{},"server":"new"})"},
        {"\xEF\xBB\xBF{\"a\":-0.0}", "\xEF\xBB\xBF{\"a\":-0.0,\"server\":\"new\"}"},
        {R"({"server":"old",})", std::nullopt},
        {R"({"server":"old"} x)", std::nullopt},
        {R"(["server"])", std::nullopt},
        {"{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}", std::nullopt},
    };
    for (const auto& [given, changed] : cases) EXPECT_EQ(withTextMember(given, "server", "new"), changed) << given;
    EXPECT_EQ(withTextMember("{}", "a\"b", "c\\\n"), R"({"a\"b":"c\\\n"})");
}

}  // namespace tobrel::admin
