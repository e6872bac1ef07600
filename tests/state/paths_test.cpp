#include "state/paths.h"

#include <gtest/gtest.h>

#include "support/local_platform.h"

namespace tobrel {
namespace {

struct Users : UserDatabase {
    std::optional<std::string> home;
    std::optional<std::string> homeDirectory() override { return home; }
    std::string NSHomeDirectory() override { return "/elsewhere"; }
};

TEST(Paths, NamesFilesOfThePrivateFolder) {
    const std::pair<std::optional<std::string>, std::string> cases[] = {{"/Users/ann", "/Users/ann/.tobrel/x"},
                                                                        {"/Users/ann/", "/Users/ann/.tobrel/x"},
                                                                        {"/", "/.tobrel/x"},
                                                                        {"", ".tobrel/x"},
                                                                        {std::nullopt, "/elsewhere/.tobrel/x"}};
    Users users;
    PosixFiles files;
    const platform::Installation installed({users, files});
    for (const auto& [home, path] : cases) {
        users.home = home;
        EXPECT_EQ(Paths::in("x"), path);
    }
}

}  // namespace
}  // namespace tobrel
