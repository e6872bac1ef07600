#include "platform/linux/user_database_posix.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "support/environment.h"

namespace tobrel {

TEST(PosixUserDatabase, TheUsersEntryGoesBeforeTheEnvironmentAndAGivenFolderBeforeBoth) {
    testing::EnvironmentVariable home("HOME", "/elsewhere");
    EXPECT_EQ(PosixUserDatabase(std::nullopt).homeDirectory(), getpwuid(getuid())->pw_dir);
    EXPECT_EQ(PosixUserDatabase(std::nullopt).NSHomeDirectory(), "/elsewhere");
    EXPECT_EQ(PosixUserDatabase("/given").homeDirectory(), "/given");
    EXPECT_EQ(PosixUserDatabase("/given").NSHomeDirectory(), "/given");
}

}  // namespace tobrel
