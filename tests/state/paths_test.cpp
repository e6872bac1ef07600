#include "state/paths.h"

#include <gtest/gtest.h>

#include "support/local_platform.h"

namespace tobrel {
namespace {

TEST(Paths, NamesFilesOfThePrivateFolder) {
    const std::pair<std::string, std::string> cases[] = {{"/Users/ann", "/Users/ann/.tobrel/config.json"},
                                                         {"/Users/ann/", "/Users/ann/.tobrel/config.json"},
                                                         {"/", "/.tobrel/config.json"},
                                                         {"", ".tobrel/config.json"}};
    for (const auto& [home, path] : cases) {
        testing::LocalPlatform platform(home);
        EXPECT_EQ(Paths::home(), home);
        EXPECT_EQ(Paths::in("config.json"), path);
    }
}

}  // namespace
}  // namespace tobrel
