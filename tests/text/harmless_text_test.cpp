#include "text/harmless_text.h"

#include <gtest/gtest.h>

#include "text/utf8.h"

namespace tobrel {

TEST(HarmlessText, shows_what_would_drive_a_terminal_and_keeps_all_else) {
    struct {
        std::string_view given;
        std::string_view shown;
    } cases[] = {
        {"", ""},
        {"Übersicht “2024” — 文書 👩‍👧", "Übersicht “2024” — 文書 👩‍👧"},
        {"\x1B[2J\x1B]52;c;AA\x07", "␛[2J␛]52;c;AA␇"},
        {"a\r\nb\tc\x7F", "a␍␊b␉c␡"},
        {std::string_view("a\0b", 3), "a␀b"},
        {"\u0080\u009B31m\u009F\u00A0", "��31m�\u00A0"},
        {"\u061C\u200E\u200F\u200D", "\u061C\u200E\u200F\u200D"},
        {"\u2027\u2028\u2029\u202A\u202B\u202C\u202D\u202E\u202F", "\u2027�������\u202F"},
        {"\u2065\u2066\u2067\u2068\u2069\u206A", "\u2065����\u206A"},
        // No UTF-8: a lone C1 byte, a lone continuation, a cut character, overlong forms, a surrogate, beyond U+10FFFF.
        {"\x9B"
         "31m",
         "�31m"},
        {"a\xBF"
         "b",
         "a�b"},
        {"a\xE2\x82", "a�"},
        {"\xF0\x9F\x98"
         "x",
         "�x"},
        {"\xC0\x9B\xE0\x82\x9B", "�����"},
        {"\xED\xA0\x80\xF4\x90\x80\x80\xFF", "��������"},
    };
    for (const auto& [given, shown] : cases) {
        EXPECT_EQ(harmless(given), shown);
        EXPECT_TRUE(isUtf8(harmless(given)));
        EXPECT_EQ(harmless(shown), shown);
    }
}

}  // namespace tobrel
