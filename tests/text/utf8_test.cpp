#include "text/utf8.h"

#include <gtest/gtest.h>

namespace tobrel {
namespace {

TEST(WellFormedUtf8, ReplacesEveryByteThatIsNotPartOfASequence) {
    const std::string bad = "\uFFFD";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"aé€😀\x7F", "aé€😀\x7F"},
        {"\x80"
         "a\xFF",
         bad + "a" + bad},
        {"\xC1\xBF", bad + bad},
        {"\xE0\x9F\xBF", bad + bad + bad},
        {"\xED\xA0\x80", bad + bad + bad},
        {"\xF0\x8F\xBF\xBF", bad + bad + bad + bad},
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},
        {"\xE2\x82", bad + bad},
        {"\xC3(", bad + "("},
        {"\xED\x9F\xBF\xF4\x8F\xBF\xBF", "\xED\x9F\xBF\xF4\x8F\xBF\xBF"},
    };
    for (const auto& [bytes, text] : cases) EXPECT_EQ(wellFormedUtf8(bytes), text);
}

}  // namespace
}  // namespace tobrel
