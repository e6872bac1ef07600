#include "flows/expiry.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel::testing {

TEST(Expiry, ReadsOnlyWholeDaysFromOneToTenYears) {
    FakeText text;
    for (auto& [typed, days] :
         std::map<std::string, int>{{"7", 7}, {"+7", 7}, {" \t7 ", 7}, {"007", 7}, {"1", 1}, {"3650", 3650}})
        EXPECT_EQ(readDays(typed, text), days) << typed;
    for (const char* typed : {"", " ", "0", "-3", "3651", "7.5", "7 5", "seven", "0x7", "7\n", "+", "+-7", "++7", "- 7",
                              "９", "99999999999999999999", "4294967303"})
        EXPECT_FALSE(readDays(typed, text)) << typed;
}

TEST(Expiry, ParsesOnlyAnInstantOfTheCalendar) {
    struct {
        const char* text;
        std::int64_t instant;
    } const instants[] = {
        {"1970-01-01 00:00:00", 0},
        {"2030-01-15 12:00:00", 1894708800},
        {"2024-02-29 23:59:59", 1709251199},
        {"1969-12-31 23:59:59", -1},
    };
    for (const auto& c : instants) EXPECT_EQ(parseExpiry(c.text), c.instant) << c.text;
    for (const char* text : {"", "2030-01-15", "2030-01-15T12:00:00Z", "2030-01-15 12:00:00 ", " 2030-01-15 12:00:00",
                             "2030-1-15 12:00:00", "2023-02-29 00:00:00", "2030-13-01 00:00:00", "2030-00-01 00:00:00",
                             "2030-01-32 00:00:00", "2030-01-15 24:00:00", "2030-01-15 12:60:00", "2030-01-15 12:00:60",
                             "+030-01-15 12:00:00", "0000-01-01 00:00:00", "2030-01-15\t12:00:00"})
        EXPECT_FALSE(parseExpiry(text)) << text;
}

TEST(Expiry, IsOneSentence) {
    FakeText text;
    EXPECT_EQ(expirySentence(std::nullopt, text), "This link does not expire.");
    EXPECT_EQ(expirySentence("", text), "This link does not expire.");
    EXPECT_EQ(expirySentence("2030-01-15 12:00:00", text), "Expires date 21929.");
    EXPECT_EQ(expirySentence("2030-01-15T12:00:00Z", text), "Expires 2030-01-15T12:00:00Z UTC.");
}

}  // namespace tobrel::testing
