#include "platform/linux_online/text_linux.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/environment.h"

namespace tobrel {

using ::testing::ElementsAreArray;
using testing::EnvironmentVariable;

TEST(TextServices, characters_are_grapheme_clusters_with_their_own_bytes) {
    const std::vector<std::string_view> cases[] = {
        {},
        {"a", "\r\n", "\n", "\r", "b"},
        {"👩‍👩‍👧", "🇩🇪", "🇫🇷", "👍🏽"},
        {std::string_view("\0", 1), "é"},
        {"\xFF", "\xE2\x82", "é"},
    };
    LinuxTextServices text;
    for (const auto& clusters : cases) {
        std::string joined;
        for (std::string_view cluster : clusters) joined += cluster;
        EXPECT_THAT(text.characters(joined), ElementsAreArray(clusters)) << joined;
    }
}

TEST(TextServices, trims_spaces_of_every_kind_and_line_breaks_where_asked) {
    struct {
        std::string_view given, withoutWhitespace, withoutNewlines;
    } cases[] = {
        {"", "", ""},
        {" \t\u00A0\u3000\u2003 ", "", ""},
        {" \r\na\n\u0085\u2028\u2029\v\f ", "\r\na\n\u0085\u2028\u2029\v\f", "a"},
        {"\u200B\u2060\uFEFF!", "\u200B\u2060\uFEFF!", "\u200B\u2060\uFEFF!"},
        {" \xA0 ", "\xA0", "\xA0"},
    };
    LinuxTextServices text;
    for (const auto& [given, withoutWhitespace, withoutNewlines] : cases) {
        EXPECT_EQ(text.trimmingWhitespace(given), withoutWhitespace) << given;
        EXPECT_EQ(text.trimmingWhitespaceAndNewlines(given), withoutNewlines) << given;
    }
}

TEST(TextServices, a_medium_date_follows_the_environments_locale_and_the_instants_own_offset) {
    using Value = std::optional<std::string>;
    constexpr std::int64_t evening = 1704238200;  // 2024-01-02 23:30:00 UTC
    struct {
        Value all, time, language, zone;
        std::string date;
        std::int64_t instant = evening;
    } cases[] = {
        {{}, {}, {}, "UTC", "Jan 2, 2024"},
        {"POSIX", "de_DE.UTF-8", "de_DE.UTF-8", "UTC", "Jan 2, 2024"},
        {"", "de_DE.UTF-8", "en_US.UTF-8", "UTC", "02.01.2024"},
        {"sv_SE", "de_DE", "en_US", "UTC", "2 jan. 2024"},
        {{}, {}, "en_US.UTF-8", "UTC", "Jan 2, 2024"},
        {{}, {}, "en_US.UTF-8@calendar=buddhist", "UTC", "Jan 2, 2567 BE"},
        {{}, {}, "en_GB.UTF-8", "UTC", "2 Jan 2024"},
        {{}, {}, "C", "UTC", "Jan 1, 1", -62135596800 - 86400 * 366},
        {{}, {}, "../../etc/passwd", "UTC", "Jan 2, 2024"},
        {{}, {}, "C", ":Asia/Kolkata", "Jan 3, 2024"},
        {{}, {}, "C", "XYZ-0:30", "Jan 3, 2024"},
        {{}, {}, "C", "XYZ-0:29:59", "Jan 2, 2024"},
        {{}, {}, "C", "Europe/Berlin", "Jun 30, 2024", 1719784799},
        {{}, {}, "C", "Europe/Berlin", "Jul 1, 2024", 1719784800},
        {{}, {}, "C", "Europe/Berlin", "Jan 1, 1970", -1},
        {{}, {}, "C", "UTC", "Jan 1, 1", -62135596800},
        {{}, {}, "C", "UTC", "Oct 14, 1582", -12219292800 - 86400},
        {{}, {}, "th_TH@calendar=buddhist", "UTC", "2 ม.ค. 2567"},
    };
    LinuxTextServices text;
    for (const auto& [all, time, language, zone, date, instant] : cases) {
        EnvironmentVariable settings[] = {{"LC_ALL", all}, {"LC_TIME", time}, {"LANG", language}, {"TZ", zone}};
        EXPECT_EQ(text.mediumDate(instant), date) << language.value_or("-") << " " << zone.value_or("-");
    }
}

}  // namespace tobrel
