#include "flows/web_address.h"

#include <gtest/gtest.h>

#include "platform/linux_online/text_linux.h"

namespace tobrel {

TEST(WebAddress, CarriesThePathInItsFragment) {
    LinuxTextServices text;
    const std::pair<const char*, const char*> cases[] = {
        {"", ""},
        {"/Docs//Reports/", "/Docs/Reports"},
        {"50% #1?;É\"<>[]^`{|}\\\x7F\n", "/50%25%20%231%3F%3B%C3%89%22%3C%3E%5B%5D%5E%60%7B%7C%7D%5C%7F%0A"},
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

}  // namespace tobrel
