#include "frontends/terminal/field_edit.h"

#include <gtest/gtest.h>

namespace tobrel::terminal {

TEST(FieldEdit, editsWholeCharactersAroundTheCursor) {
    struct {
        const char* bytes;
        const char* result;  // with | at the cursor
    } cases[] = {
        {"7", "7|"},
        {"\x7F", "|"},
        {"\x1B[C7", "30 é7|"},
        {"\x1B[D7", "7|30 é"},
        {"\x1B[F\x7F", "30 |"},
        {"\x1B[F\x1B[D\x1B[D\x17", "| é"},
        {"\x1B[H\x1B[3~x", "x|0 é"},
        {"\x1B[F\x1B[D\x15", "|é"},
        {"\x1B[H\x7F\x1B[D", "|30 é"},
        {"e\u0301\x7F", "|"},
    };
    for (auto& [bytes, result] : cases) {
        FieldEdit field = entered("30 é");
        KeyReader reader;
        for (auto& press : reader.take(bytes)) EXPECT_TRUE(edit(field, press));
        std::string shown = field.text.substr(0, field.cursor);
        EXPECT_EQ(shown + "|" + field.text.substr(field.cursor), result) << bytes;
    }
    FieldEdit field = entered("30");
    EXPECT_FALSE(edit(field, {Key::tab, ""}));
    EXPECT_EQ(field, entered("30"));
}

TEST(FieldEdit, showsThePartAroundTheCursorHarmlessly) {
    FieldEdit field = {"abcdefgh", 8};
    EXPECT_EQ(windowOf(field, 5).shown, "efgh ");
    EXPECT_EQ(windowOf(field, 5).cursorColumn, 4);
    field.cursor = 0;
    EXPECT_EQ(windowOf(field, 5).shown, "abcde");
    EXPECT_EQ(windowOf({"a\x1B\u202E", 1}, 5).shown, "a␛\uFFFD  ");
}

}  // namespace tobrel::terminal
