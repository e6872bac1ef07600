#include "platform/linux/file_provider/registry.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/file_provider/sqlite_database.h"
#include "support/temporary_folder.h"

namespace tobrel {

namespace {

namespace fs = std::filesystem;

class FileProviderRegistryTest : public ::testing::Test {
protected:
    using Items = std::vector<std::pair<std::string, std::string>>;

    std::string folder(const std::string& name) {
        fs::create_directories(base_ / name);
        return base_ / name;
    }
    std::string file() const { return data_ + "/file-provider.sqlite"; }
    std::unique_ptr<FileProviderRegistry> another() const { return std::make_unique<FileProviderRegistry>(data_); }

    bool add(const std::string& domain, std::string_view item, std::string_view path) {
        auto edit = registry_.editItems(domain);
        return edit && (*edit)->add(item, path) && (*edit)->commit();
    }
    bool remove(const std::string& domain, std::string_view item) {
        auto edit = registry_.editItems(domain);
        return edit && (*edit)->remove(item) && (*edit)->commit();
    }
    Items items(const std::string& domain) {
        Items items;
        auto snapshot = registry_.read();
        EXPECT_TRUE((*snapshot)->listItems(*(*snapshot)->domain(domain), [&](auto item, auto path) {
            items.emplace_back(item, path);
            return true;
        }));
        return items;
    }
    std::vector<std::string> domains() {
        std::vector<std::string> identifiers;
        auto snapshot = registry_.read();
        for (const auto& domain : (*snapshot)->domains()) identifiers.push_back(domain.identifier);
        return identifiers;
    }
    // "DOMAIN ITEM", with "?" for what is not known.
    std::string at(const std::string& path) {
        auto snapshot = registry_.read();
        const RegisteredDomain* domain = (*snapshot)->domainOfPath(path);
        if (!domain) return "?";
        return domain->identifier + " " + (*snapshot)->itemAtPath(*domain, path)->value_or("?");
    }

    testing::TemporaryFolder temporary_;
    const fs::path base_ = fs::canonical(temporary_.path());
    const std::string data_ = base_ / "home/.local/share/tobrel";
    FileProviderRegistry registry_{data_};
};

}  // namespace

TEST_F(FileProviderRegistryTest, where_there_is_none_there_are_no_domains_and_nothing_is_made) {
    EXPECT_TRUE(domains().empty());
    EXPECT_FALSE(registry_.countSignal("work") || registry_.removeDomain("work") || add("work", "a", "b"));
    EXPECT_TRUE(fs::is_empty(base_));
}

TEST_F(FileProviderRegistryTest, domains_keep_their_order_and_their_roots_to_themselves) {
    std::string root = folder("work");
    fs::create_directory_symlink(root, base_ / "link");
    EXPECT_TRUE(registry_.addDomain("work", base_ / "link"));
    EXPECT_TRUE(registry_.addDomain("a \xFF\n", folder("odd \xFF\n")));
    EXPECT_TRUE(registry_.addDomain("work", root + "/"));
    EXPECT_EQ((*another()->read())->domain("work")->root, root);

    testing::writeFile(base_ / "file", "");
    const std::pair<std::string, std::string> refused[] = {{"work", folder("elsewhere")},
                                                           {"other", root},
                                                           {"other", base_ / "missing"},
                                                           {"other", base_ / "file"},
                                                           {"", folder("elsewhere")}};
    for (const auto& [domain, folder] : refused) EXPECT_FALSE(registry_.addDomain(domain, folder)) << domain << folder;
    EXPECT_EQ(domains(), (std::vector<std::string>{"work", "a \xFF\n"}));
    EXPECT_EQ(fs::status(data_).permissions(), fs::perms(0700));
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
}

TEST_F(FileProviderRegistryTest, items_lie_where_their_paths_lead_and_never_outside_the_root) {
    const std::string root = folder("work");
    folder("work2");
    fs::create_directory_symlink(root, base_ / "link");
    ASSERT_TRUE(registry_.addDomain("work", root));
    struct {
        std::string item, path, stored;
    } cases[] = {{"1", "a//b/./c/", "a/b/c"},
                 {"2", "a/../d", "d"},
                 {"3", root + "/e", "e"},
                 {"4", base_ / "link/f", "f"},
                 {"5", "-\n\t'\"\\ \xFF\xC0", "-\n\t'\"\\ \xFF\xC0"},
                 {"odd \n\xFF", "g", "g"}};
    for (const auto& [item, path, stored] : cases) EXPECT_TRUE(add("work", item, path)) << path;
    for (const std::string& path : {std::string(".."), std::string("a/../../x"), root + "/../work2/x", root + "2/x",
                                    std::string("/"), std::string("h\0i", 3), std::string(), root})
        EXPECT_FALSE(add("work", "6", path)) << path;
    EXPECT_FALSE(add("work", "", "j") || add("work", "root", "k"));

    ASSERT_EQ(items("work").size(), std::size(cases));
    auto snapshot = registry_.read();
    const RegisteredDomain& domain = *(*snapshot)->domain("work");
    for (const auto& [item, path, stored] : cases) {
        EXPECT_EQ((*snapshot)->pathOfItem(domain, item)->value_or(""), root + "/" + stored);
        EXPECT_EQ((*snapshot)->itemAtPath(domain, root + "/" + stored)->value_or(""), item);
    }
}

TEST_F(FileProviderRegistryTest, an_item_moves_takes_no_other_items_place_and_goes_with_its_domain) {
    ASSERT_TRUE(registry_.addDomain("work", folder("work")));
    EXPECT_TRUE(add("work", "a", "x") && add("work", "a", "y") && add("work", "a", "y") && add("work", "b", "x"));
    EXPECT_FALSE(add("work", "b", "y"));
    EXPECT_FALSE(remove("work", "c"));
    EXPECT_TRUE(remove("work", "a") && add("work", "b", "y"));
    EXPECT_EQ(items("work"), (Items{{"b", "y"}}));
    {
        auto edit = registry_.editItems("work");
        ASSERT_TRUE((*edit)->add("not committed", "z"));
        auto meanwhile = another();
        auto snapshot = meanwhile->read();
        EXPECT_EQ(*(*snapshot)->countItems((*snapshot)->domains()[0]), 1);
    }
    EXPECT_EQ(items("work"), (Items{{"b", "y"}}));

    EXPECT_TRUE(registry_.removeDomain("work"));
    EXPECT_TRUE(domains().empty());
    ASSERT_TRUE(registry_.addDomain("work", folder("work")));
    EXPECT_EQ(items("work"), Items());
}

TEST_F(FileProviderRegistryTest, a_path_belongs_to_the_innermost_domain_around_it) {
    ASSERT_TRUE(registry_.addDomain("inner", folder("job/inner")));
    ASSERT_TRUE(registry_.addDomain("job", folder("job")));
    folder("job2");
    ASSERT_TRUE(add("job", "a", "inner/x") && add("inner", "b", "x") && add("job", "c", "innermost"));
    const std::pair<const char*, const char*> cases[] = {{"/job", "job root"},        {"/job/inner", "inner root"},
                                                         {"/job/inner/x", "inner b"}, {"/job/innermost", "job c"},
                                                         {"/job/y", "job ?"},         {"/job2", "?"}};
    for (const auto& [path, found] : cases) EXPECT_EQ(at(base_.native() + path), found);
    EXPECT_EQ(at("/"), "?");
}

TEST_F(FileProviderRegistryTest, processes_that_all_come_first_share_one_registry) {
    constexpr int processes = 8, signals = 20;
    for (int number = 0; number < processes; ++number) folder(std::to_string(number));
    std::vector<pid_t> children;
    for (int number = 0; number < processes; ++number) {
        children.push_back(fork());
        if (children.back() == 0) {
            std::string name = std::to_string(number);
            bool good = another()->addDomain(name, base_ / name) && another()->addDomain("0", base_ / "0");
            for (int signal = 0; signal < signals; ++signal) good = good && another()->countSignal("0");
            _exit(good ? 0 : 1);
        }
    }
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(domains().size(), static_cast<std::size_t>(processes));
    EXPECT_EQ((*registry_.read())->domain("0")->signals, processes * signals);
}

TEST_F(FileProviderRegistryTest, what_is_no_sound_registry_is_refused_in_one_line_and_left_alone) {
    auto sql = [&](const char* statements) {
        SqliteDatabase database(file());
        database.tidyUpOnClose();
        database.execute(statements);
    };
    auto overwrite = [&](std::size_t from) {
        std::string content = testing::readFile(file());
        std::fill(content.begin() + from, content.end(), '\x5A');
        testing::writeFile(file(), content);
    };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"empty", [&] { testing::writeFile(file(), ""); }},
        {"no database", [&] { testing::writeFile(file(), std::string(10'000, 'x')); }},
        {"cut off", [&] { fs::resize_file(file(), 4096); }},
        {"cut off within a page", [&] { fs::resize_file(file(), 5000); }},
        {"tables overwritten", [&] { overwrite(4096); }},
        {"all but the header overwritten", [&] { overwrite(100); }},
        {"another program's", [&] { sql("PRAGMA application_id = 0"); }},
        {"a later version's", [&] { sql("PRAGMA user_version = 2"); }},
        {"tables missing", [&] { sql("DROP TABLE domain; DROP TABLE item"); }},
        {"a folder", [&] { return fs::remove(file()) && fs::create_directory(file()); }},
        {"a FIFO", [&] { return fs::remove(file()) && mkfifo(file().c_str(), 0600) == 0; }},
    };
    for (const auto& [name, spoil] : cases) {
        SCOPED_TRACE(name);
        fs::remove_all(data_);
        ASSERT_TRUE(another()->addDomain("work", folder("work")));
        spoil();
        std::string before = fs::is_regular_file(file()) ? testing::readFile(file()) : "";

        auto snapshot = another()->read();
        ASSERT_FALSE(snapshot);
        EXPECT_NE(snapshot.failure().sentence.find("file-provider.sqlite"), std::string::npos);
        EXPECT_EQ(snapshot.failure().sentence.find('\n'), std::string::npos);
        EXPECT_FALSE(another()->addDomain("more", folder("more")));
        EXPECT_FALSE(another()->countSignal("work"));
        EXPECT_EQ(fs::is_regular_file(file()) ? testing::readFile(file()) : "", before);
    }
}

TEST_F(FileProviderRegistryTest, is_read_where_the_disk_takes_no_further_byte) {
    std::string root = folder("root");
    {
        auto setUp = another();
        setUp->addDomain("work", root);
        auto edit = setUp->editItems("work");
        EXPECT_TRUE((*edit)->add("a", "a.txt") && (*edit)->commit());
    }
    EXPECT_FALSE(fs::exists(file() + "-shm"));
    pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        rlimit none{8, 8};
        setrlimit(RLIMIT_FSIZE, &none);
        auto first = another(), second = another();
        auto snapshots = {first->read(), second->read()};
        for (const auto& snapshot : snapshots)
            if (!snapshot ||
                (*snapshot)->itemAtPath((*snapshot)->domains().at(0), root + "/a.txt")->value_or("") != "a")
                _exit(1);
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(FileProviderRegistryTest, what_a_registry_that_was_deleted_left_behind_does_not_spoil_the_next) {
    ASSERT_TRUE(another()->addDomain("old", folder("old")));
    for (int signal = 0; signal < 3; ++signal) ASSERT_TRUE(another()->countSignal("old"));
    ASSERT_TRUE(fs::exists(file() + "-wal"));
    fs::remove(file());
    ASSERT_TRUE(registry_.addDomain("new", folder("new")));
    EXPECT_EQ(domains(), std::vector<std::string>{"new"});
}

}  // namespace tobrel
