#include "flows/web_address.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel::testing {

TEST(WebAddress, CarriesThePathInItsFragment) {
    FakeText text;
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"/Docs//Reports/", "/Docs/Reports"},
        {"50% #1?;", "/50%25%20%231%3F%3B"},
        {"É\"<>[]^`{|}\\\x7F\n", "/%C3%89%22%3C%3E%5B%5D%5E%60%7B%7C%7D%5C%7F%0A"},
        {"aZ09!$&'()*+,-.:=_~@", "/aZ09!$&'()*+,-.:=_~@"},
        // A slash with an accent is one character: it neither splits nor stays.
        {"a/\u0308b/e\u0301", "/a%2F%CC%88b/e%CC%81"},
    };
    for (const auto& [path, behind] : cases)
        EXPECT_EQ(webAddress("https://h/base", path, text).value().absoluteString(),
                  std::string("https://h/base/tobrel/account/files#files") + behind);
    EXPECT_FALSE(webAddress("", "Docs", text));
    EXPECT_FALSE(webAddress("https://h x", "Docs", text));
}

TEST(WebAddress, TakesAFilesFolderAsTheTextBeforeTheLastSlash) {
    EXPECT_EQ(parentPath("Docs/Reports/q1.pdf"), "Docs/Reports");
    EXPECT_EQ(parentPath("q1.pdf"), "");
}

}  // namespace tobrel::testing
