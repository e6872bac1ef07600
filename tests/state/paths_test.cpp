#include "state/paths.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel {
namespace {

TEST(Paths, NamesFilesOfThePrivateFolder) {
    const std::pair<std::optional<std::string>, std::string> cases[] = {{"/Users/ann", "/Users/ann/.tobrel/x"},
                                                                        {"/Users/ann/", "/Users/ann/.tobrel/x"},
                                                                        {"/", "/.tobrel/x"},
                                                                        {"", ".tobrel/x"},
                                                                        {std::nullopt, "/elsewhere/.tobrel/x"}};
    testing::FakePlatform platform;
    platform.users.platformHome = "/elsewhere";
    for (const auto& [home, path] : cases) {
        platform.users.home = home;
        EXPECT_EQ(Paths::in("x"), path);
    }
}

}  // namespace
}  // namespace tobrel
