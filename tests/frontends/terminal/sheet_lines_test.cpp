#include "frontends/terminal/sheet_lines.h"

#include <gmock/gmock.h>

#include "frontends/terminal/frame.h"
#include "support/sheet_host.h"

namespace tobrel::terminal {

using ::testing::HasSubstr;
using ::testing::Not;

class SheetLinesTest : public ::testing::Test {
protected:
    SheetLines lines(int columns) {
        LayoutInput input;
        input.columns = columns;
        input.styling = styling;
        input.focus = host->root->firstResponder();
        if (auto* field = dynamic_cast<const NSTextField*>(input.focus)) input.edit = entered(field->stringValue());
        input.note = note;
        return layOut(sheet::rowsOf(*host->root), input);
    }
    std::string drawn(int columns) { return encoded(lines(columns).lines, styling); }

    std::shared_ptr<testing::SheetHost> host = std::make_shared<testing::SheetHost>();
    Styling styling = Styling::plain;
    Note note;
};

TEST_F(SheetLinesTest, drawsAFormInReadingOrderWithItsFocus) {
    host->showLinkForm();
    EXPECT_EQ(drawn(80),
              "  Share link for “Reports”\r\n\r\n"
              "  [x] Link expires after >30    < days\r\n"
              "  After that the link stops working. The files stay in your Tobrel, and you\r\n"
              "  can make a new link any time.\r\n\r\n"
              "  [ Create Link ]  [ Cancel ]");
    styling = Styling::styled;
    EXPECT_THAT(drawn(80), HasSubstr("\x1B[7m30\x1B[0m    \x1B[1m]\x1B[0m days"));
}

TEST_F(SheetLinesTest, anAddressIsNeverCutAndStaysOneLineForTheTerminal) {
    std::string address = "https://tobrel.example/s/" + std::string(300, 'a');
    note = {address, "A note."};
    host->showLabel("Link copied to the clipboard:\n" + address + "\nThis link does not expire.");
    for (int columns : {20, 80, 400}) EXPECT_THAT(drawn(columns), HasSubstr(address + "\r\n")) << columns;
    EXPECT_THAT(drawn(80), HasSubstr("  A note.\r\n  Link copied to the clipboard:\r\n"));
    note.about = "https://tobrel.example/";
    EXPECT_THAT(drawn(80), Not(HasSubstr("A note.")));
}

TEST_F(SheetLinesTest, longTextsAreShortenedInTheMiddleAndNoLineIsTooWide) {
    std::string name(4000, 'n');
    host->showShareForm(name);
    for (int columns : {1, 10, 39, 80})
        for (auto& line : lines(columns).lines) EXPECT_LE(columnsOf(line), std::max(columns, 9)) << columns;
    EXPECT_THAT(drawn(80), HasSubstr("  Share “nnn"));
    EXPECT_THAT(drawn(80), HasSubstr("nnn” with a Tobrel user\r\n"));
    host->showList({"a@x.org", name + "@x.org"});
    EXPECT_EQ(lines(80).lines.size(), 6U);
    EXPECT_THAT(drawn(80), HasSubstr("n@x.org  ·  view only  [ Stop sharing ]\r\n"));
}

TEST_F(SheetLinesTest, textFromElsewhereDrivesNothing) {
    std::string hostile = "a\x1B[2J\x07\u202Eb\xC2\x9B\nc\td";
    host->showShareForm(hostile);
    host->email->setStringValue(hostile);
    host->email->setPlaceholderString(hostile);
    host->role->removeAllItems();
    host->role->addItemWithTitle(hostile);
    std::string bytes = drawn(200);
    host->check->setTitle(hostile);
    host->showLinkForm();
    bytes += drawn(200);
    host->showLabel(hostile + "\nhttps://" + hostile);
    bytes += drawn(200);
    host->showList({hostile});
    bytes += drawn(200);
    for (unsigned char byte : bytes) EXPECT_TRUE(byte >= 0x20 || byte == '\r' || byte == '\n') << int{byte};
    EXPECT_THAT(bytes, Not(HasSubstr("\u202E")));
    EXPECT_THAT(bytes, Not(HasSubstr("\xC2\x9B")));
    EXPECT_THAT(bytes, HasSubstr("a␛[2J␇"));
}

TEST_F(SheetLinesTest, aTallSheetScrollsToItsFocusOnEveryTerminal) {
    host->showList(std::vector<std::string>(500, "ann@x.org"));
    auto controls = controlsOf(sheet::rowsOf(*host->root));
    for (int rows : {1, 2, 4, 6, 24, 100}) {
        std::size_t scroll = 0;
        for (std::size_t focus : {0, 250, 499, 500, 3}) {
            controls[focus].view().becomeFirstResponder();
            SheetLines sheet = lines(80);
            Frame frame = compose(sheet, "hint", {80, rows}, scroll);
            scroll = frame.scroll;
            ASSERT_LE(frame.lines.size(), static_cast<std::size_t>(rows));
            ASSERT_TRUE(frame.cursor) << rows << " rows, control " << focus;
            EXPECT_EQ(frame.lines[frame.cursor->line], sheet.lines[sheet.cursor->line]);
        }
    }
    EXPECT_THAT(encoded(compose(lines(80), "hint", {80, 8}, 0).lines, Styling::plain),
                HasSubstr("  ↓ 496 more\r\n  [ Done ]\r\n  hint"));
}

TEST(RowsAbove, countsTheRowsThatATerminalMakesOfAFrameWhenItsWidthChanges) {
    Frame frame;
    frame.lines = {{}, {{{std::string(60, 'a')}}}, {{{std::string(10, 'b')}}, 0, true}, {{{"c"}}}};
    frame.cursor = Cursor{3, 1};
    EXPECT_EQ(rowsAbove(frame, 60), 3);
    EXPECT_EQ(rowsAbove(frame, 100), 2);
    EXPECT_EQ(rowsAbove(frame, 20), 5);
    frame.cursor->line = 0;
    EXPECT_EQ(rowsTaken(frame, 20), 6);
}

}  // namespace tobrel::terminal
