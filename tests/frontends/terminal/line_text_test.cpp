#include "frontends/terminal/line_text.h"

#include <gmock/gmock.h>

#include "frontends/sheet/user.h"
#include "support/sheet_host.h"

namespace tobrel::terminal {

class LineTextTest : public ::testing::Test {
protected:
    std::shared_ptr<testing::SheetHost> host = std::make_shared<testing::SheetHost>();
};

TEST_F(LineTextTest, numbersTheControlsFromTheTop) {
    host->showShareForm("a\nb");
    host->email->setEnabled(false);
    EXPECT_THAT(numberedLines(sheet::rowsOf(*host->root), 30, {}, sheet::defaultButton(sheet::rowsOf(*host->root))),
                ::testing::ElementsAre("Share “a␊b” with a Tobrel user", "", "[1] their Tobrel email:  (not available)",
                                       "[2] (*) 1 Can view and download", "    ( ) 2 Can view, add, edit and delete",
                                       "", "[3] Share (Enter)   [4] Cancel"));
}

TEST_F(LineTextTest, readsALineAsAnInstructionOrRefusesItInASentence) {
    host->showShareForm("Reports");
    Rows form = sheet::rowsOf(*host->root);
    struct {
        std::string line;
        std::size_t control;  // counted from 1
        std::optional<std::string> text;
        std::optional<int> item;
    } taken[] = {
        {"1 a@x.org ", 1, "a@x.org ", {}},     {"1 ", 1, "", {}}, {"2 2", 2, {}, 1},
        {"2 can view and download", 2, {}, 0}, {"", 3, {}, {}},   {"cancel", 4, {}, {}},
    };
    for (auto& [line, control, text, item] : taken) {
        Instruction instruction = instructionOf(line, form, sheet::defaultButton(form));
        EXPECT_EQ(instruction.control, control - 1) << line;
        EXPECT_EQ(instruction.text, text) << line;
        EXPECT_EQ(instruction.item, item) << line;
    }

    using Refusals = std::vector<std::pair<std::string, std::string>>;
    const auto expectRefused = [](const Rows& rows, const Refusals& refusals) {
        for (auto& [line, refusal] : refusals) {
            EXPECT_FALSE(instructionOf(line, rows, sheet::defaultButton(rows)).control) << line;
            EXPECT_EQ(instructionOf(line, rows, sheet::defaultButton(rows)).refusal, refusal) << line;
        }
    };
    expectRefused(form,
                  {
                      {"1", "[1] takes a text, as in “1 text”."},
                      {"2 3", "[2] takes the number of one of its items, as in “2 1”."},
                      {"5", "There is no [5] here."},
                      {"99999999999999999999", "There is nothing of that name here: please type one of the numbers."},
                  });
    // The form's views are gone from here on.
    host->showList({"ann", "bob"});
    Rows list = sheet::rowsOf(*host->root);
    controlsOf(list)[1].button->setEnabled(false);
    expectRefused(list, {
                            {"", "No button here answers to Enter alone: please type a number."},
                            {"Stop sharing", "There are several of that title: please type the number."},
                            {"2", "[2] is not available now."},
                        });
}

}  // namespace tobrel::terminal
