#include "frontends/terminal/field_edit.h"

#include <gtest/gtest.h>

namespace tobrel::terminal {

TEST(FieldEdit, editsWholeCharactersAroundTheCursor) {
    std::pair<const char*, const char*> cases[] = {
        // The keys' bytes; the result with | at the cursor.
        {"7", "7|"},
        {"\x7F", "|"},
        {"\x1B[C7", "30 é7|"},
        {"\x1B[F\x7F", "30 |"},
        {"\x1B[F\x1B[D\x1B[D\x17", "| é"},
        {"\x1B[H\x1B[3~x", "x|0 é"},
        {"\x1B[F\x1B[D\x15", "|é"},
        {"e\u0301\x7F", "|"},
    };
    for (auto& [bytes, result] : cases) {
        FieldEdit field = entered("30 é");
        for (auto& press : KeyReader().take(bytes)) EXPECT_TRUE(edit(field, press));
        EXPECT_EQ(field.text.insert(field.cursor, "|"), result) << bytes;
    }
    FieldEdit field = entered("30");
    EXPECT_FALSE(edit(field, {Key::tab, ""}));
}

TEST(FieldEdit, showsThePartAroundTheCursorHarmlessly) {
    EXPECT_EQ(windowOf({"abcdefgh", 8}, 5).shown, "efgh ");
    EXPECT_EQ(windowOf({"abcdefgh", 8}, 5).cursorColumn, 4);
    EXPECT_EQ(windowOf({"abcdefgh", 0}, 5).shown, "abcde");
    EXPECT_EQ(windowOf({"a\x1B\u202E", 1}, 5).shown, "a␛\uFFFD  ");
}

}  // namespace tobrel::terminal
