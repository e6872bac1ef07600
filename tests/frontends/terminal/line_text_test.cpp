#include "frontends/terminal/line_text.h"

#include <gmock/gmock.h>

#include "frontends/terminal/sheet_host.h"

namespace tobrel::terminal {

using ::testing::ElementsAre;
using tobrel::testing::SheetHost;

TEST(LineText, numbersTheControlsFromTheTop) {
    auto host = std::make_shared<SheetHost>();
    host->showLinkForm("Reports");
    host->days->setEnabled(false);
    EXPECT_THAT(
        numberedLines(rowsOf(*host->root), 60, {}),
        ElementsAre("Share link for “Reports”", "", "[1] [x] Link expires after", "[2] days: 30 (not available)",
                    "After that the link stops working. The files stay in your",
                    "Tobrel, and you can make a new link any time.", "", "[3] Create Link (Enter)   [4] Cancel"));
    host->showShareForm("a\nb");
    EXPECT_THAT(
        numberedLines(rowsOf(*host->root), unlimitedColumns, {}),
        ElementsAre("Share “a␊b” with a Tobrel user", "", "[1] their Tobrel email: ", "[2] (*) 1 Can view and download",
                    "    ( ) 2 Can view, add, edit and delete", "", "[3] Share (Enter)   [4] Cancel"));
    host->showList({"ann@x.org"});
    EXPECT_THAT(numberedLines(rowsOf(*host->root), unlimitedColumns, {}),
                ElementsAre("Sharing for “Reports”", "", "ann@x.org  ·  view only   [1] Stop sharing", "", "[2] Done"));
}

TEST(LineText, readsALineAsAnInstructionOrRefusesItInASentence) {
    auto host = std::make_shared<SheetHost>();
    host->showShareForm("Reports");
    Rows form = rowsOf(*host->root);
    struct {
        std::string line;
        int control;  // counted from 1, 0 for a refusal
        std::string text;
        int item;
        std::string refusal;
    } cases[] = {
        {"1 a@x.org ", 1, "a@x.org ", -1, ""},
        {"1 ", 1, "", -1, ""},
        {"2 2", 2, "", 1, ""},
        {"2 can view and download", 2, "", 0, ""},
        {"3", 3, "", -1, ""},
        {"", 3, "", -1, ""},
        {"cancel", 4, "", -1, ""},
        {"1", 0, "", -1, "[1] takes a text, as in “1 text”."},
        {"2", 0, "", -1, "[2] takes the number of one of its items, as in “2 1”."},
        {"2 3", 0, "", -1, "[2] takes the number of one of its items, as in “2 1”."},
        {"3 now", 0, "", -1, "[3] takes no text."},
        {"0", 0, "", -1, "There is no [0] here."},
        {"5", 0, "", -1, "There is no [5] here."},
        {"99999999999999999999", 0, "", -1, "There is nothing of that name here: please type one of the numbers."},
    };
    for (auto& [line, control, text, item, refusal] : cases) {
        Instruction instruction = instructionOf(line, form);
        EXPECT_EQ(instruction.control ? static_cast<int>(*instruction.control) + 1 : 0, control) << line;
        EXPECT_EQ(instruction.text.value_or(""), text) << line;
        EXPECT_EQ(instruction.item.value_or(-1), item) << line;
        EXPECT_EQ(instruction.refusal, refusal) << line;
    }
    host->showList({"ann", "bob"});
    Rows list = rowsOf(*host->root);
    EXPECT_EQ(instructionOf("", list).refusal, "No button here answers to Enter alone: please type a number.");
    EXPECT_EQ(instructionOf("Stop sharing", list).refusal, "There are several of that title: please type the number.");
    controlsOf(list)[0].button->setEnabled(false);
    EXPECT_EQ(instructionOf("1", list).refusal, "[1] is not available now.");
    EXPECT_TRUE(isWaiting(list, true));
}

}  // namespace tobrel::terminal
