#include "platform/platform.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel {

TEST(PlatformDeathTest, APartThatIsNotInstalledIsNamedAndEndsTheProcess) {
    testing::FakeUserDatabase users;
    testing::FakeFiles files;
    EXPECT_DEATH(platform::current(), "platform::current\\(\\) is used, but has not been installed");
    platform::Installation installation({users, files});
    EXPECT_EQ(&platform::current().users, &users);
    EXPECT_DEATH(platform::request(), "platform::request");
    EXPECT_DEATH(platform::online(), "platform::online");
    EXPECT_DEATH(platform::desktop(), "platform::desktop");
}

}  // namespace tobrel
