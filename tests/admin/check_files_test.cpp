#include <gmock/gmock.h>

#include <filesystem>

#include "admin/checks.h"
#include "admin/subcommand.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

namespace tobrel::testing {

TEST(FileManagersCheck, tells_which_of_the_installed_ones_have_the_commands) {
    TemporaryFolder folder;
    EnvironmentVariable path("PATH", folder.path()), data("XDG_DATA_DIRS", folder.path()),
        own("XDG_DATA_HOME", folder.file("none"));
    auto found = [] { return admin::checkFileManagers({}).at(0); };
    EXPECT_THAT(found().text, ::testing::HasSubstr("none is installed"));
    writeFile(folder.file("dolphin"), "");
    std::filesystem::permissions(folder.file("dolphin"), std::filesystem::perms::owner_all);
    EXPECT_EQ(found().text, "dolphin lacks Tobrel's menu");
    EXPECT_FALSE(found().isGood());
    std::filesystem::create_directories(folder.file("kio/servicemenus"));
    writeFile(folder.file("kio/servicemenus/tobrel.desktop"), "");
    EXPECT_EQ(found().text, "dolphin has Tobrel's menu");
    EXPECT_TRUE(found().isGood());
}

}  // namespace tobrel::testing
