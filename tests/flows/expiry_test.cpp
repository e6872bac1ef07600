#include "flows/expiry.h"

#include <gtest/gtest.h>

#include "platform/linux_online/text_linux.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

TEST(Expiry, TakesOnlyAWholeNumberFromOneTo3650AsDays) {
    LinuxTextServices text;
    for (const char* seven : {"7", "+7", " \t7\u00A0\u3000", "007"}) EXPECT_EQ(readDays(seven, text), 7) << seven;
    EXPECT_EQ(readDays("1", text), 1);
    EXPECT_EQ(readDays("3650", text), 3650);
    for (const char* refused : {"", " ", "0", "-3", "3651", "7.5", "7 5", "seven", "7\n", "+", "+-7", "++7", "９",
                                "4294967303", "99999999999999999999"})
        EXPECT_FALSE(readDays(refused, text)) << refused;
}

TEST(Expiry, TakesOnlyAnInstantOfTheCalendarAsADate) {
    FakePlatform world;
    TextServices& text = world.text;
    EXPECT_EQ(parseExpiry("1969-12-31 23:59:59"), -1);
    EXPECT_EQ(parseExpiry("2024-02-29 12:00:00"), 1709208000);
    EXPECT_EQ(expirySentence("2030-01-15 12:00:00", text), "Expires Jan 15, 2030.");
    for (const char* other :
         {"2030-01-15T12:00:00Z", "2030-01-15 12:00:00 ", "2030-1-15 12:00:00", "0000-01-01 00:00:00",
          "2023-02-29 00:00:00", "2030-13-01 00:00:00", "2030-01-15 24:00:00", "2030-01-15 12:60:00",
          "2030-01-15 12:00:60", "+030-01-15 12:00:00"})
        EXPECT_EQ(expirySentence(other, text), "Expires " + std::string(other) + " UTC.");
    EXPECT_EQ(expirySentence("", text), "This link does not expire.");
}

}  // namespace tobrel::testing
