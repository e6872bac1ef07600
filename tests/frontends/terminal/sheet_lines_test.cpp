#include "frontends/terminal/sheet_lines.h"

#include <gtest/gtest.h>

#include "frontends/terminal/frame.h"
#include "frontends/terminal/hint.h"
#include "frontends/terminal/sheet_host.h"

namespace tobrel::terminal {

using tobrel::testing::SheetHost;

class SheetLinesTest : public ::testing::Test {
protected:
    SheetLines lines(int columns, Styling styling = Styling::plain) {
        LayoutInput input;
        input.columns = columns;
        input.styling = styling;
        input.focus = host->root->firstResponder();
        if (auto* field = dynamic_cast<const NSTextField*>(input.focus)) input.edit = entered(field->stringValue());
        input.note = note;
        return layOut(rowsOf(*host->root), input);
    }
    std::string drawn(int columns, Styling styling = Styling::plain) {
        return encoded(lines(columns, styling).lines, styling);
    }

    std::shared_ptr<SheetHost> host = std::make_shared<SheetHost>();
    Note note;
};

TEST_F(SheetLinesTest, drawsTheFormsInReadingOrder) {
    host->showLinkForm("Reports");
    EXPECT_EQ(drawn(80),
              "  Share link for “Reports”\r\n\r\n"
              "  [x] Link expires after >30    < days\r\n"
              "  After that the link stops working. The files stay in your Tobrel, and you\r\n"
              "  can make a new link any time.\r\n\r\n"
              "  [ Create Link ]  [ Cancel ]");
    host->showShareForm("Reports");
    EXPECT_EQ(drawn(80),
              "  Share “Reports” with a Tobrel user\r\n\r\n"
              "  >their Tobrel email                          <\r\n"
              "  [ Can view and download ▾ ]\r\n\r\n"
              "  [ Share ]  [ Cancel ]");
    host->showList({"ann@x.org", "bernadette@x.org"});
    EXPECT_EQ(drawn(80),
              "  Sharing for “Reports”\r\n\r\n"
              "  ann@x.org  ·  view only         [ Stop sharing ]\r\n"
              "  bernadette@x.org  ·  view only  [ Stop sharing ]\r\n\r\n"
              "  [ Done ]");
}

TEST_F(SheetLinesTest, styledSheetsShowTheFocusAndTheDefaultButton) {
    host->showLinkForm("R");
    std::string bytes = drawn(80, Styling::styled);
    EXPECT_NE(bytes.find("\x1B[1mShare link for “R”\x1B[0m"), std::string::npos);
    EXPECT_NE(bytes.find("\x1B[7m30\x1B[0m    \x1B[1m]\x1B[0m days"), std::string::npos);
    EXPECT_NE(bytes.find("\x1B[1m[ Create Link ]\x1B[0m  [ Cancel ]"), std::string::npos);
    host->check->becomeFirstResponder();
    EXPECT_NE(drawn(80, Styling::styled).find("\x1B[7m[x]\x1B[0m Link expires after"), std::string::npos);
}

TEST_F(SheetLinesTest, anAddressIsNeverCutAndStaysOneLineForTheTerminal) {
    std::string address = "https://tobrel.example/s/" + std::string(300, 'a');
    note = {address, "A note."};
    host->showLabel("Link copied to the clipboard:\n" + address + "\nThis link does not expire.");
    for (int columns : {20, 80, 400}) EXPECT_NE(drawn(columns).find(address + "\r\n"), std::string::npos) << columns;
    EXPECT_NE(drawn(80).find("  This link does not expire.\r\n  A note.\r\n"), std::string::npos);
    note.about = "https://tobrel.example/";
    EXPECT_EQ(drawn(80).find("A note."), std::string::npos);
}

TEST_F(SheetLinesTest, longTextsAreShortenedInTheMiddleAndNoLineIsTooWide) {
    std::string name(4000, 'n');
    host->showShareForm(name);
    for (int columns : {1, 10, 39, 80}) {
        for (auto& line : lines(columns).lines) EXPECT_LE(columnsOf(line), std::max(columns, 9)) << columns;
    }
    EXPECT_NE(drawn(80).find("  Share “nnn"), std::string::npos);
    EXPECT_NE(drawn(80).find("nnn” with a Tobrel user\r\n"), std::string::npos);
    host->showList({"a@x.org", name + "@x.org"});
    EXPECT_EQ(lines(80).lines.size(), 6U);
    EXPECT_NE(drawn(80).find("n@x.org  ·  view only  [ Stop sharing ]\r\n"), std::string::npos);
}

TEST_F(SheetLinesTest, textFromElsewhereDrivesNothing) {
    std::string hostile = "a\x1B[2J\x07\u202Eb\xC2\x9B\nc\td";
    host->showShareForm(hostile);
    host->email->setStringValue(hostile);
    host->email->setPlaceholderString(hostile);
    host->role->removeAllItems();
    host->role->addItemWithTitle(hostile);
    host->check->setTitle(hostile);
    std::string bytes = drawn(200);
    host->showLabel(hostile + "\nhttps://" + hostile);
    bytes += drawn(200);
    host->showList({hostile});
    bytes += drawn(200);
    for (unsigned char byte : bytes) EXPECT_TRUE(byte >= 0x20 || byte == '\r' || byte == '\n') << int{byte};
    EXPECT_EQ(bytes.find("\u202E"), std::string::npos);
    EXPECT_EQ(bytes.find("\xC2\x9B"), std::string::npos);
    EXPECT_NE(bytes.find("a␛[2J␇"), std::string::npos);
}

TEST_F(SheetLinesTest, aTallSheetScrollsToItsFocusOnEveryTerminal) {
    std::vector<std::string> people;
    for (int i = 0; i < 500; ++i) people.push_back("person" + std::to_string(i) + "@x.org");
    host->showList(people);
    auto controls = controlsOf(rowsOf(*host->root));
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
    controls[0].view().becomeFirstResponder();
    EXPECT_EQ(encoded(compose(lines(80), "hint", {80, 8}, 300).lines, Styling::plain),
              "  Sharing for “Reports”\r\n\r\n"
              "  person0@x.org  ·  view only    > Stop sharing <\r\n"
              "  person1@x.org  ·  view only    [ Stop sharing ]\r\n"
              "  person2@x.org  ·  view only    [ Stop sharing ]\r\n"
              "  ↓ 497 more\r\n"
              "  [ Done ]\r\n"
              "  hint");
}

TEST(RowsAbove, countsTheRowsThatATerminalMakesOfAFrameWhenItsWidthChanges) {
    Frame frame;
    frame.lines = {{}, {{{std::string(60, 'a')}}}, {{{std::string(10, 'b')}}, 0, true}, {{{"c"}}}};
    frame.cursor = Cursor{3, 1};
    EXPECT_EQ(rowsAbove(frame, 60), 3);
    EXPECT_EQ(rowsAbove(frame, 100), 2);
    EXPECT_EQ(rowsAbove(frame, 20), 5);
}

}  // namespace tobrel::terminal
