#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/parse.hpp>

#include "support/installation.h"

namespace tobrel {

using testing::Installation;
using testing::Program;
using Lines = std::vector<std::string>;

TEST(TobrelAdmin, says_what_is_wrong_with_a_command_line_in_one_line_with_the_nearest_word) {
    std::pair<Lines, std::string> cases[] = {
        {{}, "no subcommand given"},
        {{"domian", "list"}, "did you mean domain?"},
        {{"domain", "add", "x"}, "tobrel-admin domain add ID DIR"},
        {{"item", "add", "work", "a", "b", "--json"}, "does not take --json"},
        {{"pins", "--jason"}, "did you mean --json?"},
        {{"pins", "--account", "x"}, "pins does not take --account"},
        {{"pins", "--account"}, "--account needs a value"},
        {{"domain", "add", "-x", "/"}, "“-x”"},
        {{"a\nb"}, "“a␊b”"},
    };
    Installation installation;
    for (const auto& [words, said] : cases) {
        auto ended = installation.admin(words);
        EXPECT_EQ(ended.status, 2) << said;
        EXPECT_NE(ended.errors.find(said), std::string::npos) << ended.errors;
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1);
        EXPECT_EQ(ended.output, "");
    }
    EXPECT_EQ(testing::run({"tobrel-admin", "--home", "", "pins"}).status, 2);
    EXPECT_EQ(installation.admin({"--help"}).status, 0);
    EXPECT_EQ(installation.admin({"pins", "--version"}).status, 0);
}

TEST(TobrelAdmin, lists_domains_and_items_one_a_line_whatever_their_names_hold) {
    Installation installation;
    std::string root = installation.root();
    EXPECT_EQ(installation.admin({"item", "add", "work", "1\n\x1B", "a\\b\t\xFF.txt"}).errors, "");
    EXPECT_EQ(installation.admin({"item", "add", "--", "work", "-2", root + "/\u202Ec"}).errors, "");
    EXPECT_EQ(installation.admin({"item", "list", "work"}).lines(),
              (Lines{"-2\t\\xE2\\x80\\xAEc", "1\\n\\x1B\ta\\\\b\\t\\xFF.txt"}));
    EXPECT_EQ(installation.admin({"--json", "item", "list", "work"}).lines(),
              (Lines{R"({"item":"-2","path":"\u202Ec"})", R"({"item":"1\n\u001b","path":"a\\b\t)"
                                                          "\uFFFD"
                                                          R"(.txt"})"}));
    std::string json = installation.admin({"domain", "list", "--json"}).lines().at(0);
    EXPECT_EQ(boost::json::parse(json),
              (boost::json::value{{"id", "work"}, {"root", root}, {"items", 2}, {"signals", 0}}));
    EXPECT_EQ(installation.admin({"domain", "list"}).lines(), (Lines{"work\t" + root + "\titems: 2\tsignals: 0"}));
    for (int status : {0, 1}) EXPECT_EQ(installation.admin({"item", "remove", "--", "work", "-2"}).status, status);
    EXPECT_EQ(installation.admin({"item", "list", "work"}).lines().size(), 1u);
    Program::Setting fullDisk;
    fullDisk.standardOutput = "/dev/full";
    EXPECT_EQ(Program({"tobrel-admin", "--home", installation.home(), "domain", "list"}, fullDisk).wait().status, 1);
    EXPECT_EQ(installation.admin({"domain", "remove", "work"}).status, 0);
    EXPECT_EQ(installation.admin({"domain", "list"}).output, "");
    EXPECT_EQ(installation.admin({"item", "list", "work"}).status, 1);
}

TEST(TobrelAdmin, imports_all_lines_or_none) {
    Installation installation;
    struct {
        std::string input;
        std::string said;  // "" where all is well
        Lines items;
    } cases[] = {
        {"", "", {}},
        {"b\tx/y\na\tz\n", "", {"a\tz", "b\tx/y"}},
        {"c\tone\ttwo\na\tmoved", "", {"a\tmoved", "b\tx/y", "c\tone\\ttwo"}},
        {"d\tgood\nno tab\n", "Line 2: “no tab”", {}},
        {"d\tgood\n\ne\tgood too\n", "Line 2: ", {}},
        {"d\tx/y\n", "Line 1: “x/y” belongs to another item, “b”", {}},
        {"d\tgood\ne\tfine\nf\t../out\n", "Line 3: “../out” lies outside", {}},
        {"\tnobody\n", "Line 1: ", {}},
        {"d\tgood\n" + std::string(70'000, 'x'), "Line 2 is longer than 64 KiB", {}},
    };
    Lines items;
    for (const auto& [input, said, itemsThen] : cases) {
        auto ended = installation.admin({"item", "import", "work"}, input);
        EXPECT_EQ(ended.status, said.empty() ? 0 : 1) << input;
        EXPECT_NE(ended.errors.find(said), std::string::npos) << ended.errors;
        if (said.empty()) items = itemsThen;
        EXPECT_EQ(installation.admin({"item", "list", "work"}).lines(), items);
    }
    EXPECT_EQ(installation.admin({"item", "import", "other"}, "a\tb\n").status, 1);
}

TEST(TobrelAdmin, shows_the_pin_queue_entry_by_entry) {
    Installation installation;
    EXPECT_EQ(installation.admin({"pins"}).status, 0);
    std::filesystem::create_directory(installation.home() + "/.tobrel");
    std::string queue = installation.privateFile("pinned_pending.json");
    testing::writeFile(queue, R"([ { "id" : "a\nb" , "pin" : true, "x": [1e2, {"y": "\"}\\"}] } ,)"
                              R"({"pin":false,"id":"\u00e9]}"}, {"id":1,"pin":true} ])");
    EXPECT_EQ(installation.admin({"pins"}).lines(),
              (Lines{"keep\ta\\nb", "unkeep\té]}", "?\t{\"id\":1,\"pin\":true}"}));
    EXPECT_EQ(installation.admin({"pins", "--json"}).lines(),
              (Lines{R"({"id":"a\nb","pin":true,"x":[1e2,{"y":"\"}\\"}]})", R"({"pin":false,"id":"\u00e9]}"})",
                     R"({"id":1,"pin":true})"}));
    for (const char* malformed : {"", "{}", "[{}", "[\"a\"]", "[{\"id\":\"a\",\"pin\":true}] x"}) {
        testing::writeFile(queue, malformed);
        auto ended = installation.admin({"pins", "--json"});
        EXPECT_EQ(ended.status, 1) << malformed;
        EXPECT_EQ(ended.output, "");
        EXPECT_NE(ended.errors.find("cannot be read as a queue of pin requests"), std::string::npos) << ended.errors;
    }
}

}  // namespace tobrel
