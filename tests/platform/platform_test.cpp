#include "platform/platform.h"

#include <gtest/gtest.h>

#include "support/local_platform.h"

namespace tobrel {

TEST(PlatformDeathTest, APartThatIsNotInstalledIsNamedAndEndsTheProcess) {
    EXPECT_DEATH(platform::current(), "platform::current\\(\\) is used, but has not been installed");
    testing::LocalPlatform local("/home/ann");
    EXPECT_EQ(platform::current().users.homeDirectory(), "/home/ann");
    EXPECT_DEATH(platform::request(), "platform::request");
    EXPECT_DEATH(platform::online(), "platform::online");
    EXPECT_DEATH(platform::desktop(), "platform::desktop");
}

}  // namespace tobrel
