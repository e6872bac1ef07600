#include "host/options.h"

#include <gtest/gtest.h>

#include "host/items_from.h"
#include "host/program.h"
#include "support/temporary_folder.h"

namespace tobrel::host {

namespace {

std::variant<Options, Information, UsageError> parse(std::vector<std::string> words) {
    words.insert(words.begin(), "tobrel-action");
    std::vector<char*> pointers;
    for (auto& word : words) pointers.push_back(word.data());
    return parseOptions(static_cast<int>(pointers.size()), pointers.data());
}

Options parsed(std::vector<std::string> words) {
    auto result = parse(std::move(words));
    if (auto* error = std::get_if<UsageError>(&result)) ADD_FAILURE() << error->sentence;
    return std::holds_alternative<Options>(result) ? std::get<Options>(result) : Options{};
}

using Words = std::vector<std::string>;

}  // namespace

TEST(Options, KeepItemsInTheirOrderAmongOptions) {
    Options options = parsed({"keep", "b", "--log", "none", "a", "b", "--domain=", "--", "-c", "--help"});
    EXPECT_EQ(options.actionIdentifier, "com.qelmo.tobrel.keepDownloaded");
    EXPECT_EQ(options.items, (Words{"b", "a", "b", "-c", "--help"}));
    EXPECT_EQ(options.domain, "");
    EXPECT_EQ(options.log, LogDestination::none);
    EXPECT_FALSE(options.home);
}

TEST(Options, TakeTheWordBehindActionAsItIs) {
    for (const char* identifier : {"--help", "", "-0", "keep", "--", "com.qelmo.tobrel.share"}) {
        Options options = parsed({"--log=stderr", "action", identifier, "--front-end", "json", "x"});
        EXPECT_EQ(options.actionIdentifier, identifier);
        EXPECT_EQ(options.items, Words{"x"});
        EXPECT_EQ(options.frontEnd, FrontEndKind::json);
    }
}

TEST(Options, SayInOneSentenceWhatIsWrong) {
    struct {
        Words words;
        const char* says;
    } const cases[] = {
        {{}, "no command given"},
        {{"kep", "x"}, "there is no command “kep”; did you mean keep?"},
        {{"action"}, "action needs an identifier"},
        {{"keep", "--front-ent", "json"}, "there is no option “--front-ent”; did you mean --front-end?"},
        {{"keep", "--frontend=json"}, "did you mean --front-end?"},
        {{"keep", "-x"}, "there is no option “-x”"},
        {{"keep", "a", "-0dash"}, "there is no option “-0dash”; items that begin with a dash go behind \"--\""},
        {{"keep", "--domain"}, "“--domain” needs a value"},
        {{"keep", "--front-end", "jsn"}, "--front-end does not take “jsn”; did you mean json?"},
        {{"keep", "--log", "file"}, "--log does not take “file”"},
        {{"keep", "--home", "/tmp", "--log", "journal"}, "--log journal"},
        {{"keep", "--home", ""}, "--home needs a folder"},
        {{"keep", "-0"}, "-0 goes with --items-from"},
    };
    for (const auto& c : cases) {
        auto result = parse(c.words);
        ASSERT_TRUE(std::holds_alternative<UsageError>(result)) << c.says;
        std::string sentence = std::get<UsageError>(result).sentence;
        EXPECT_NE(sentence.find(c.says), std::string::npos) << sentence;
        EXPECT_EQ(sentence.find('\n'), std::string::npos);
    }
}

TEST(Options, ChooseTheProgram) {
    struct {
        Words words;
        Program program;
    } const cases[] = {
        {{"keep", "--front-end", "gtk"}, Program::itself},
        {{"unkeep", "--front-end", "json"}, Program::itself},
        {{"action", "com.qelmo.tobrel.keepDownloaded", "--front-end", "gtk"}, Program::itself},
        {{"action", "else"}, Program::itself},
        {{"share"}, Program::online},
        {{"share-with", "--front-end", "terminal"}, Program::online},
        {{"manage", "--front-end", "json"}, Program::online},
        {{"action", "com.qelmo.tobrel.viewOnline"}, Program::online},
        {{"online", "--front-end", "gtk"}, Program::gtk},
        {{"action", "else", "--front-end", "gtk"}, Program::gtk},
    };
    for (const auto& c : cases) EXPECT_EQ(programFor(parsed(c.words)), c.program) << ::testing::PrintToString(c.words);
}

TEST(ItemsFrom, FollowTheOthersFileByFileAndAreBounded) {
    testing::TemporaryFolder folder;
    testing::writeFile(folder.file("one"), "b\nc\n");
    testing::writeFile(folder.file("two"), "d");
    std::string lines;
    for (int i = 0; i < 1'000'000; ++i) lines += "x\n";
    testing::writeFile(folder.file("many"), lines);
    struct {
        Words files;
        std::variant<Words, const char*> expected;
    } const cases[] = {
        {{folder.file("one"), folder.file("two")}, Words{"a", "b", "c", "d"}},
        {{folder.file("one"), folder.file("none")}, "cannot be read: No such file"},
        {{folder.path()}, "cannot be read: Is a directory"},
        {{"/dev/zero"}, "is larger than 64 MiB"},
        {{folder.file("many")}, "more than a million items"},
    };
    for (const auto& c : cases) {
        Options options;
        options.items = {"a"};
        options.itemsFrom = c.files;
        auto items = allItems(options);
        if (auto* expected = std::get_if<Words>(&c.expected))
            EXPECT_EQ(std::get<Words>(items), *expected);
        else
            EXPECT_NE(std::get<UsageError>(items).sentence.find(std::get<const char*>(c.expected)), std::string::npos);
    }
}

TEST(ItemsFrom, SkipsBlankLinesAndTrimsNothing) {
    struct {
        std::string content;
        bool endWithNul;
        Words items;
    } const cases[] = {
        {"", false, {}},
        {"a\nb", false, {"a", "b"}},
        {"a\n\n b \r\n", false, {"a", " b \r"}},
        {std::string("a\nb\0\0c\0", 7), true, {"a\nb", "c"}},
        {"\n\n", true, {"\n\n"}},
    };
    for (const auto& c : cases) {
        Words items;
        addItems(items, c.content, c.endWithNul);
        EXPECT_EQ(items, c.items);
    }
}

}  // namespace tobrel::host
