#include "platform/linux/local_path.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace tobrel {

TEST(LocalPath, is_normal_without_asking_the_disk) {
    struct {
        const char* path;
        std::optional<std::string> normal;
    } cases[] = {
        {"/a//b/./c/", "/a/b/c"},
        {"/", "/"},
        {"//", "/"},
        {"/a/..", "/"},
        {"/../a", "/a"},
        {"/a/b/../../c", "/c"},
        {"a/./b", "a/b"},
        {"", ""},
        {".", ""},
        {"a/..", ""},
        {"a/../b", "b"},
        {"..a", "..a"},
        {"a/...", "a/..."},
        {"..", std::nullopt},
        {"a/../../b", std::nullopt},
    };
    for (const auto& [path, normal] : cases) EXPECT_EQ(normalPath(path), normal) << path;
}

TEST(LocalPath, below_a_folder_keeps_to_the_folders_boundary) {
    struct {
        const char* path;
        const char* folder;
        std::optional<std::string_view> below;
    } cases[] = {
        {"/home/ann/Tobrel/x", "/home/ann/Tobrel", "x"},
        {"/home/ann/Tobrel", "/home/ann/Tobrel", ""},
        {"/home/ann/Tobrel2", "/home/ann/Tobrel", std::nullopt},
        {"/home/ann", "/home/ann/Tobrel", std::nullopt},
        {"/home/ann/Tobrel2/x", "/home/ann/Tobrel", std::nullopt},
        {"/x/y", "/", "x/y"},
        {"/", "/", ""},
    };
    for (const auto& [path, folder, below] : cases) {
        EXPECT_EQ(pathBelow(path, folder), below) << path;
        EXPECT_EQ(below ? pathIn(folder, *below) : path, path);
    }
}

TEST(LocalPath, resolver_follows_every_link_but_the_last) {
    testing::TemporaryFolder folder;
    auto root = std::filesystem::canonical(folder.path());
    std::filesystem::create_directories(root / "real/inner");
    std::filesystem::create_directory_symlink(root / "real/inner", root / "link");
    std::filesystem::create_symlink("nowhere", root / "real/inner/dangling");
    struct {
        const char* path;
        std::optional<std::string> leads;
    } cases[] = {
        {"/link/x", "/real/inner/x"}, {"/link/y", "/real/inner/y"}, {"/link", "/link"},
        {"/link/../z", "/real/z"},    {"/link/..", "/real"},        {"/link/dangling/", "/real/inner/dangling"},
        {"/missing/x", std::nullopt},
    };
    FolderResolver resolver;
    for (const auto& [path, leads] : cases) {
        auto resolved = resolver.resolve(root.native() + path);
        EXPECT_EQ(resolved, leads ? std::optional(root.native() + *leads) : std::nullopt) << path;
    }
}

}  // namespace tobrel
