#include "platform/linux/file_provider/item_mapping.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace tobrel {

namespace fs = std::filesystem;

TEST(ItemMapping, words_lead_to_items_by_whatever_way) {
    testing::TemporaryFolder temporary;
    fs::path base = fs::canonical(temporary.path());
    fs::path root = base / "Tobrel";
    fs::create_directories(root / "Reports/2024");
    fs::create_directories(root / "odd \xFF\n");
    fs::create_directories(base / "Tobrel2");
    fs::create_directory_symlink(root, base / "link");
    fs::create_directory_symlink(root / "Reports/2024", base / "deep");
    fs::create_directory_symlink(base / "Tobrel2", root / "away");
    fs::create_directory_symlink(root / "Reports", base / "into");

    FileProviderRegistry registry(base / "data");
    ASSERT_TRUE(registry.addDomain("work", root));
    {
        auto edit = registry.editItems("work");
        for (const char* path : {"Reports", "Reports/2024", "Reports/2024/q1.pdf", "odd \xFF\n", "away", "away/x",
                                 "a#b?c", "100%", "gone.txt"})
            ASSERT_TRUE((*edit)->add("item:" + std::string(path), path));
        ASSERT_TRUE((*edit)->commit());
    }
    const std::string r = root, b = base;
    // A link in the domain is an item itself; what lies behind a link goes by its path first.
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"item:Reports",
         {r + "/Reports", r + "//./Reports///", "../../Reports", "..", b + "/link/Reports",
          "file://" + r + "/Reports"}},
        {"item:Reports/2024", {".", b + "/deep/../2024"}},
        {"item:Reports/2024/q1.pdf", {"q1.pdf", "./../2024/q1.pdf", b + "/deep/q1.pdf"}},
        {"root", {r, r + "/", "../..", b + "/link"}},
        {"item:odd \xFF\n", {r + "/odd \xFF\n", "FILE://LocalHost" + r + "/odd%20%ff%0A/"}},
        {"item:gone.txt", {r + "/gone.txt", b + "/link/gone.txt", r + "/missing/../gone.txt"}},
        {"item:away", {r + "/away"}},
        {"item:away/x", {r + "/away/x"}},
        {"item:100%", {"file://" + r + "/100%25"}},
        {"item:a#b?c", {"file://" + r + "/a#b?c"}},
        {"",
         {b + "/into", r + "/away/../gone.txt", b + "/Tobrel2", b + "/Tobrel2/Reports", r + "/unknown", r + "/reports",
          "/", "", std::string("Reports\0", 8), "file://" + r + "/100%", "file://" + r + "/100%2",
          "file://" + r + "/100%2G", "file://" + r + "/Reports%00", "file://elsewhere" + r + "/Reports",
          "file://localhost", "file://", "./file://" + r + "/Reports"}},
    };
    ItemMapping mapping(registry, r + "/Reports/2024");
    for (const auto& [item, words] : cases)
        for (const std::string& word : words) {
            auto mapped = mapping.map(word);
            EXPECT_EQ(mapped ? mapped->item : "", item) << word;
            EXPECT_EQ(mapped ? mapped->domain : "work", "work");
            EXPECT_EQ(mapped ? std::string::npos : mapped.failure().sentence.find('\n'), std::string::npos);
        }
    EXPECT_FALSE(ItemMapping(registry, "").map("q1.pdf"));
}

}  // namespace tobrel
