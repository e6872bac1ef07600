#include <gtest/gtest.h>

#include <boost/json/serialize.hpp>

#include "support/installation.h"

namespace tobrel::testing {

namespace {

std::string queueOf(const Installation& installation) {
    return readFile(installation.privateFile("pinned_pending.json"));
}

std::vector<std::string> identifiers(const std::vector<boost::json::object>& pins) {
    std::vector<std::string> identifiers;
    for (const auto& pin : pins) identifiers.emplace_back(pin.at("id").as_string());
    return identifiers;
}

using Words = std::vector<std::string>;

}  // namespace

TEST(PinCommand, RecordsPathsOfEveryKindInTheirOrderAndSignalsOnce) {
    Installation installation;
    std::string spaces = installation.addFile("i-1", "two words/a report.pdf");
    std::string lineBreak = installation.addFile("i-2", "line\nbreak");
    std::string bytes = installation.addFile("i-3", "no\xff\xfeutf8");
    std::string dash = installation.addFile("i-4", "-dash");
    std::filesystem::current_path(installation.root());

    Ended keep =
        run(installation.action({"keep", "--", spaces, lineBreak, bytes, "-dash", "id:i-9", installation.root(),
                                 "file://" + installation.root() + "/two%20words/a%20report.pdf"}));
    EXPECT_EQ(keep.status, 0) << keep.errors;
    EXPECT_EQ(keep.output, "Made available offline\n");
    EXPECT_EQ(identifiers(installation.pins()), (Words{"i-1", "i-2", "i-3", "i-4", "i-9", "root", "i-1"}));
    EXPECT_EQ(installation.signals(), 1);

    Ended unkeep = run(installation.action({"unkeep", spaces, spaces}));
    EXPECT_EQ(unkeep.output, "Made online-only\n");
    auto pins = installation.pins();
    ASSERT_EQ(pins.size(), 9u);
    EXPECT_EQ(boost::json::serialize(pins[8]), R"({"id":"i-1","pin":false})");
    EXPECT_EQ(installation.signals(), 2);
    std::filesystem::current_path("/");
}

TEST(PinCommand, TakesALargeSelectionFromAFileAndAnEmptyOne) {
    Installation installation;
    EXPECT_EQ(run(installation.action({"keep", "--domain", "work"})).status, 0);
    EXPECT_EQ(queueOf(installation), "[]");

    constexpr int count = 100'000;
    std::string table;
    std::string paths;
    for (int i = 0; i < count; ++i) {
        std::string name = "f" + std::to_string(i);
        table += "i" + std::to_string(i) + "\t" + name + "\n";
        paths += installation.root() + "/" + name + "\n";
    }
    EXPECT_EQ(installation.admin({"item", "import", "work"}, table).errors, "");
    Ended keep = run(installation.action({"keep", "--items-from", "-"}), paths);
    EXPECT_EQ(keep.status, 0) << keep.errors;
    auto kept = identifiers(installation.pins());
    ASSERT_EQ(kept.size(), static_cast<std::size_t>(count));
    EXPECT_EQ(kept.front(), "i0");
    EXPECT_EQ(kept.back(), "i99999");
    EXPECT_EQ(installation.signals(), 2);
}

TEST(PinCommand, IsRecordedWhateverBecomesOfItsOutput) {
    Installation installation;
    for (std::optional<std::string> output : {std::optional<std::string>(""), {"/dev/full"}, {}})
        for (const char* frontEnd : {"json", "terminal", "gtk"}) {
            Program::Setting setting;
            setting.standardOutput = output;
            setting.readerHasGone = !output;
            Program program(installation.action({"keep", "--front-end", frontEnd, "id:a"}), setting);
            EXPECT_EQ(program.wait().status, 0);
        }
    EXPECT_EQ(installation.pins().size(), 9u);

#ifndef __SANITIZE_THREAD__  // Which writes a file of its own first, and ends by the same signal.
    std::vector<std::string> words = installation.action({"keep", "id:a"});
    words[0] = TOBREL_BIN_DIR "/" + words[0];
    words.insert(words.begin(), {"sh", "-c", "ulimit -f 0; exec \"$0\" \"$@\""});
    EXPECT_GE(run(words).status, 0) << "ended by the signal of a file that may not grow";
#endif
}

TEST(PinCommand, GoesOnWithoutTheRegistryButMapsNoPathThen) {
    Installation installation;
    std::string file = installation.addFile("a", "file");
    for (const auto& entry : std::filesystem::recursive_directory_iterator(installation.home() + "/.local"))
        if (entry.is_regular_file()) writeFile(entry.path(), "this is no database, and it is long enough to be one");
    EXPECT_EQ(run(installation.action({"keep", "--domain", "work", "id:a"})).status, 0);
    EXPECT_EQ(queueOf(installation), R"([{"id":"a","pin":true}])");

    Ended keep = run(installation.action({"keep", file}));
    EXPECT_EQ(keep.status, 3);
    EXPECT_EQ(std::count(keep.errors.begin(), keep.errors.end(), '\n'), 1) << keep.errors;
    EXPECT_EQ(installation.pins().size(), 1u);
}

TEST(Request, IsCancelledWhereAnItemCannotBeMapped) {
    Installation installation;
    std::string known = installation.addFile("a", "known");
    writeFile(installation.root() + "/unknown", "");
    for (std::string item : {installation.root() + "/unknown", installation.root() + "2/known",
                             std::string("/etc/passwd"), installation.home() + "/no\nsuch", std::string("")}) {
        Ended ended = run(installation.action({"keep", "--front-end", "json", known, "--", item}));
        EXPECT_EQ(ended.status, 3) << item;
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1) << ended.errors;
        ASSERT_EQ(ended.events("cancelled").size(), 1u);
        EXPECT_EQ(ended.events("cancelled")[0].at("domain").as_string(), "NSFileProviderErrorDomain");
        EXPECT_EQ(ended.events("cancelled")[0].at("code").as_int64(), -1005);
        EXPECT_TRUE(ended.events("log").empty());
    }
    EXPECT_FALSE(std::filesystem::exists(installation.privateFile("pinned_pending.json")));
    EXPECT_EQ(installation.signals(), 0);
}

TEST(Request, SaysWhatIsWrongWithItsCommandLineAndDoesNothing) {
    Installation installation;
    for (Words words : {Words{"kep"}, Words{"keep", "--items-from", "/no/such"}, Words{"keep", "--log", "journal"},
                        Words{"keep", "--nonsense"}}) {
        Ended ended = run(installation.action(words));
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(std::count(ended.errors.begin(), ended.errors.end(), '\n'), 1) << ended.errors;
    }
    EXPECT_EQ(run(installation.action({"share", "--front-end", "gtk", "id:a"})).status, 4);
    EXPECT_EQ(run({"tobrel-action", "--help"}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(installation.privateFile("pinned_pending.json")));
}

}  // namespace tobrel::testing
