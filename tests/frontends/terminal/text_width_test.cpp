#include "frontends/terminal/text_width.h"

#include <gmock/gmock.h>

namespace tobrel::terminal {

using ::testing::ElementsAre;

TEST(TextWidth, countsColumnsAsTerminalsDoEvenInTheCLocale) {
    std::pair<const char*, int> cases[] = {{"", 0}, {"e\u0301", 1}, {"日本", 4}, {"👩\u200D💻", 2}, {"é…·“”", 5}};
    for (auto& [text, columns] : cases) EXPECT_EQ(columnsOf(text), columns) << text;
}

TEST(TextWidth, fitsTextIntoLines) {
    EXPECT_THAT(fitted("one two  three", 7, 0), ElementsAre("one two", "three"));
    EXPECT_THAT(fitted("a bcdefghij", 4, 0), ElementsAre("a", "bcde", "fghi", "j"));
    EXPECT_THAT(fitted("日本語", 1, 0), ElementsAre("日", "本", "語"));
    EXPECT_THAT(fitted("abcdefghij", 5, 1), ElementsAre("ab…ij"));
    EXPECT_THAT(fitted(std::string(4000, 'n'), 10, 2), ElementsAre("nnnnnnnnnn", "…nnnnnnnnn"));
    EXPECT_LE(fitted("many short words that waste columns at their breaks", 9, 3).size(), 3U);
}

}  // namespace tobrel::terminal
