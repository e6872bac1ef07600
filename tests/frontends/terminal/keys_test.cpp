#include "frontends/terminal/keys.h"

#include <gmock/gmock.h>

namespace tobrel::terminal {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

KeyPress key(Key key) {
    return {key, ""};
}

TEST(Keys, readsTheSameKeysHoweverTheBytesArrive) {
    std::pair<std::string, std::vector<KeyPress>> cases[] = {
        {"aé日", {{Key::text, "a"}, {Key::text, "é"}, {Key::text, "日"}}},
        {"\r\t\x7F\x15\x17\x03",
         {key(Key::enter), key(Key::tab), key(Key::backspace), key(Key::deleteToStart), key(Key::deleteWord),
          key(Key::close)}},
        {"\x1B[A\x1BOB\x1B[1;5C\x1B[Z", {key(Key::up), key(Key::down), key(Key::right), key(Key::backTab)}},
        {"\x1B[H\x1B[4~\x1B[3~\x1B[5~\x1B[6;2~",
         {key(Key::home), key(Key::end), key(Key::deleteForward), key(Key::pageUp), key(Key::pageDown)}},
        // Sequences without a meaning here, Alt with a key, bytes that are no UTF-8.
        {"\x1B[15~\x1B[[A\x1B[<0;3;4Mx\x1Bq\xFF\xE9y", {{Key::text, "x"}, {Key::text, "y"}}},
        {"\x1B\x1B[A", {key(Key::escape), key(Key::up)}},
        // A pasted line break presses nothing, and nothing pasted is a control.
        {"\x1B[200~ann@x.org\r\nbob\x03\x1B\t!\n\x1B[201~z", {{Key::text, "ann@x.org  bob !"}, {Key::text, "z"}}},
    };
    for (auto& [bytes, presses] : cases) {
        EXPECT_EQ(KeyReader().take(bytes), presses) << bytes;
        KeyReader single;
        std::vector<KeyPress> collected;
        for (char byte : bytes)
            for (auto& press : single.take({&byte, 1})) collected.push_back(press);
        EXPECT_EQ(collected, presses) << bytes;
        EXPECT_FALSE(single.isUnfinished());
    }
}

TEST(Keys, decidesOnALoneEscapeOnlyWhenNothingFollows) {
    KeyReader reader;
    EXPECT_THAT(reader.take("\x1B"), IsEmpty());
    EXPECT_TRUE(reader.isUnfinished());
    EXPECT_THAT(reader.finish(), ElementsAre(key(Key::escape)));
    EXPECT_THAT(reader.take("\x1B["), IsEmpty());
    EXPECT_THAT(reader.finish(), IsEmpty());
    EXPECT_THAT(reader.take("\x1B[200~half a paste"), IsEmpty());
    EXPECT_THAT(reader.finish(), ElementsAre(KeyPress{Key::text, "half a paste"}));
    EXPECT_THAT(reader.take("\r"), ElementsAre(key(Key::enter)));
}

}  // namespace tobrel::terminal
