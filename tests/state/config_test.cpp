#include "state/config.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "state/keychain_store.h"
#include "support/fake_platform.h"
#include "support/local_platform.h"

namespace tobrel::testing {

TEST(Config, the_server_is_taken_as_stored_but_for_trailing_slashes) {
    struct {
        std::string file;
        std::string server;
    } cases[] = {
        {R"({"server":"https://t.example"})", "https://t.example"},
        {R"({"server":"https://t.example/base//"})", "https://t.example/base"},
        {R"({"server":"///"})", ""},
        {R"({"server":" https://t.example/ "})", " https://t.example/ "},
        {R"({"server":"a","server":"b"})", "b"},
        {"\xEF\xBB\xBF{\"server\":\"a\"}\n", "a"},
        {R"({"server":"\\ud83d\ude00\ud83d\udc00x","\udbff":"\udc00\ud800"})", "\\ud83d\uFFFD\U0001F400x"},
        {R"({"server":"\ud8"})", ""},
        {R"({"server":7})", ""},
        {R"({"server":null})", ""},
        {R"({"Server":"a"})", ""},
        {R"(["server","a"])", ""},
        {R"("server")", ""},
        {R"({"server":"a",})", ""},
        {R"({"server":"a"} x)", ""},
        {"{\"server\":\"\xFF\"}", ""},
        {"", ""},
    };
    FakePlatform platform;
    EXPECT_EQ(Config::server(), "");
    for (const auto& [file, server] : cases) {
        platform.write("config.json", file);
        EXPECT_EQ(Config::server(), server) << file;
    }
}

TEST(Config, the_keychains_key_goes_before_the_files) {
    FakePlatform platform;
    EXPECT_EQ(Config::apiKey(), "");
    platform.write("config.json", R"({"api_key":" from file\n"})");
    EXPECT_EQ(Config::apiKey(), " from file\n");
    KeychainStore::saveKey("from keychain", "ann");
    EXPECT_EQ(Config::apiKey(), "from keychain");
    platform.keychain.failure = errSecNotAvailable;
    EXPECT_EQ(Config::apiKey(), " from file\n");
    platform.write("config.json", R"({"api_key":["x"]})");
    EXPECT_EQ(Config::apiKey(), "");
}

TEST(Config, whatever_lies_in_the_files_place_costs_little_and_counts_as_empty) {
    FakePlatform platform;
    const std::string file = platform.file("config.json");
    std::filesystem::create_directories(file);
    EXPECT_EQ(Config::server(), "");
    std::filesystem::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(Config::server(), "");
    std::filesystem::remove(file);
    std::filesystem::create_symlink("/dev/zero", file);
    EXPECT_EQ(Config::server(), "");
    std::filesystem::remove(file);

    writeFile(file, R"({"server":"a"})");
    EXPECT_EQ(Config::server(), "a");
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    EXPECT_EQ(Config::server(), "");
    writeFile(file, R"({"server":"a","x":)" + std::string(100000, '[') + std::string(100000, ']') + "}");
    EXPECT_EQ(Config::server(), "");
}

TEST(Config, of_a_file_that_another_user_could_have_written_nothing_is_used) {
    TemporaryFolder home;
    LocalPlatform platform(home.path());
    const std::string folder = home.file(".tobrel"), file = folder + "/config.json", elsewhere = home.file("other");
    std::filesystem::create_directory(folder);
    writeFile(file, R"({"server":"a"})");
    for (const std::string& place : {file, folder}) {
        std::filesystem::permissions(place, std::filesystem::perms(0777 & ~02));
        EXPECT_EQ(Config::server(), "a") << "group: doctor's business";
        std::filesystem::permissions(place, std::filesystem::perms(0702));
        EXPECT_EQ(Config::server(), "") << place;
        std::filesystem::permissions(place, std::filesystem::perms::owner_all);
    }
    std::filesystem::create_directory(elsewhere);
    std::filesystem::rename(file, elsewhere + "/config.json");
    std::filesystem::create_symlink(elsewhere + "/config.json", file);
    EXPECT_EQ(Config::server(), "a");
    std::filesystem::permissions(elsewhere, std::filesystem::perms(0702));
    EXPECT_EQ(Config::server(), "") << "a link to such a place";
    std::filesystem::permissions(elsewhere, std::filesystem::perms::owner_all);
    // Only root can give a file away.
    if (chown(file.c_str(), 65534, 65534) == 0) {
        EXPECT_EQ(Config::server(), "");
    }
}

}  // namespace tobrel::testing
