#include "platform/linux/file_provider_registry.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/sqlite_database.h"
#include "support/temporary_folder.h"

namespace tobrel {

namespace {

namespace fs = std::filesystem;

class FileProviderRegistryTest : public ::testing::Test {
protected:
    std::string folder(const std::string& name) {
        fs::create_directories(base_ / name);
        return base_ / name;
    }
    std::string file() const { return data_ + "/file-provider.sqlite"; }
    std::unique_ptr<FileProviderRegistry> another() const { return std::make_unique<FileProviderRegistry>(data_); }

    // The failure's sentence, "" for none.
    static std::string refusal(const Outcome<Done>& outcome) { return outcome ? "" : outcome.failure().sentence; }
    std::string add(const std::string& domain, std::string_view item, std::string_view path) {
        auto edit = registry_.editItems(domain);
        if (!edit) return edit.failure().sentence;
        auto added = (*edit)->add(item, path);
        return refusal(added ? (*edit)->commit() : added);
    }
    std::string remove(const std::string& domain, std::string_view item) {
        auto edit = registry_.editItems(domain);
        auto removed = (*edit)->remove(item);
        return refusal(removed ? (*edit)->commit() : removed);
    }
    std::vector<std::pair<std::string, std::string>> items(const std::string& domain) {
        std::vector<std::pair<std::string, std::string>> items;
        auto snapshot = registry_.read();
        auto listed = (*snapshot)->listItems(*(*snapshot)->domain(domain), [&](auto item, auto path) {
            items.emplace_back(item, path);
            return true;
        });
        EXPECT_TRUE(listed);
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

using Items = std::vector<std::pair<std::string, std::string>>;

}  // namespace

TEST_F(FileProviderRegistryTest, where_there_is_none_there_are_no_domains_and_nothing_is_made) {
    EXPECT_EQ(domains(), std::vector<std::string>());
    EXPECT_NE(refusal(registry_.countSignal("work")), "");
    EXPECT_NE(refusal(registry_.removeDomain("work")), "");
    EXPECT_NE(add("work", "a", "b"), "");
    EXPECT_TRUE(fs::is_empty(base_));
}

TEST_F(FileProviderRegistryTest, domains_keep_their_order_and_their_roots_to_themselves) {
    std::string root = folder("work");
    fs::create_directory_symlink(root, base_ / "link");
    testing::writeFile(base_ / "file", "");
    EXPECT_EQ(refusal(registry_.addDomain("work", base_ / "link")), "");
    EXPECT_EQ(refusal(registry_.addDomain("a \xFF\n", folder("odd \xFF\n"))), "");
    EXPECT_EQ(refusal(registry_.addDomain("work", root + "/")), "");
    EXPECT_EQ(domains(), (std::vector<std::string>{"work", "a \xFF\n"}));
    EXPECT_EQ((*another()->read())->domain("work")->root, root);

    EXPECT_NE(refusal(registry_.addDomain("work", folder("elsewhere"))), "");
    EXPECT_NE(refusal(registry_.addDomain("other", root)), "");
    EXPECT_NE(refusal(registry_.addDomain("other", base_ / "missing")), "");
    EXPECT_NE(refusal(registry_.addDomain("other", base_ / "file")), "");
    EXPECT_NE(refusal(registry_.addDomain("", folder("elsewhere"))), "");
    EXPECT_EQ(domains().size(), 2u);

    struct stat status {};
    stat(data_.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
    stat(file().c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(FileProviderRegistryTest, items_lie_where_their_paths_lead_and_never_outside_the_root) {
    std::string root = folder("work");
    folder("work2");
    fs::create_directory_symlink(root, base_ / "link");
    ASSERT_EQ(refusal(registry_.addDomain("work", root)), "");
    struct {
        std::string item, path;
        std::optional<std::string> stored;
    } cases[] = {
        {"1", "a//b/./c/", "a/b/c"},
        {"2", "a/../d", "d"},
        {"3", root + "/e", "e"},
        {"4", base_ / "link/f", "f"},
        {"5", "-\n\t'\"\\ \xFF\xC0", "-\n\t'\"\\ \xFF\xC0"},
        {"odd \n\xFF", "g", "g"},
        {"6", "..", {}},
        {"6", "a/../../x", {}},
        {"6", root + "/../work2/x", {}},
        {"6", root + "2/x", {}},
        {"6", "/", {}},
        {"6", std::string("h\0i", 3), {}},
        {"6", "", {}},
        {"6", root, {}},
        {"", "j", {}},
        {"root", "k", {}},
    };
    Items expected;
    for (const auto& [item, path, stored] : cases) {
        EXPECT_EQ(add("work", item, path) == "", stored.has_value()) << item << " " << path;
        if (stored) expected.emplace_back(item, *stored);
    }
    EXPECT_EQ(items("work"), expected);
    EXPECT_EQ(add("work", "root", "."), "");
    auto snapshot = registry_.read();
    for (const auto& [item, path] : expected) {
        const RegisteredDomain& domain = *(*snapshot)->domain("work");
        EXPECT_EQ((*snapshot)->pathOfItem(domain, item)->value_or(""), root + "/" + path);
        EXPECT_EQ((*snapshot)->itemAtPath(domain, root + "/" + path)->value_or(""), item);
    }
}

TEST_F(FileProviderRegistryTest, an_item_moves_takes_no_other_items_place_and_goes_with_its_domain) {
    ASSERT_EQ(refusal(registry_.addDomain("work", folder("work"))), "");
    EXPECT_EQ(add("work", "a", "x"), "");
    EXPECT_EQ(add("work", "a", "y"), "");
    EXPECT_EQ(add("work", "a", "y"), "");
    EXPECT_EQ(add("work", "b", "x"), "");
    EXPECT_NE(add("work", "b", "y"), "");
    EXPECT_NE(remove("work", "c"), "");
    EXPECT_EQ(remove("work", "a"), "");
    EXPECT_EQ(add("work", "b", "y"), "");
    EXPECT_EQ(items("work"), (Items{{"b", "y"}}));

    EXPECT_EQ(refusal(registry_.removeDomain("work")), "");
    EXPECT_EQ(domains(), std::vector<std::string>());
    ASSERT_EQ(refusal(registry_.addDomain("work", folder("work"))), "");
    EXPECT_EQ(items("work"), Items());
}

TEST_F(FileProviderRegistryTest, an_edit_changes_nothing_before_its_commit) {
    ASSERT_EQ(refusal(registry_.addDomain("work", folder("work"))), "");
    {
        auto edit = registry_.editItems("work");
        ASSERT_TRUE((*edit)->add("a", "x"));
        auto meanwhile = another();
        auto snapshot = meanwhile->read();
        EXPECT_EQ(*(*snapshot)->countItems((*snapshot)->domains()[0]), 0);
    }
    EXPECT_EQ(items("work"), Items());
}

TEST_F(FileProviderRegistryTest, a_path_belongs_to_the_innermost_domain_around_it) {
    ASSERT_EQ(refusal(registry_.addDomain("inner", folder("work/inner"))), "");
    ASSERT_EQ(refusal(registry_.addDomain("work", folder("work"))), "");
    folder("work2");
    ASSERT_EQ(add("work", "a", "inner/x"), "");
    ASSERT_EQ(add("inner", "b", "x"), "");
    ASSERT_EQ(add("work", "c", "innermost"), "");
    std::string base = base_.native() + "/";
    EXPECT_EQ(at(base + "work"), "work root");
    EXPECT_EQ(at(base + "work/inner"), "inner root");
    EXPECT_EQ(at(base + "work/inner/x"), "inner b");
    EXPECT_EQ(at(base + "work/innermost"), "work c");
    EXPECT_EQ(at(base + "work/y"), "work ?");
    EXPECT_EQ(at(base + "work2"), "?");
    EXPECT_EQ(at("/"), "?");
}

TEST_F(FileProviderRegistryTest, processes_that_all_come_first_share_one_registry) {
    constexpr int processes = 8, signals = 20;
    for (int number = 0; number < processes; ++number) folder(std::to_string(number));
    std::vector<pid_t> children;
    for (int number = 0; number < processes; ++number) {
        pid_t child = fork();
        if (child == 0) {
            std::string name = std::to_string(number);
            bool good = another()->addDomain(name, base_ / name) && another()->addDomain("0", base_ / "0");
            for (int signal = 0; signal < signals; ++signal) good = good && another()->countSignal("0");
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(domains().size(), static_cast<std::size_t>(processes));
    EXPECT_EQ((*registry_.read())->domain("0")->signals, processes * signals);
    EXPECT_LT(fs::file_size(file() + "-wal"), 100u * 4120);
}

TEST_F(FileProviderRegistryTest, what_is_no_sound_registry_is_refused_in_one_line_and_left_alone) {
    auto sql = [&](const char* statements) {
        SqliteDatabase database(file());
        database.tidyUpOnClose();
        database.execute(statements);
    };
    auto overwrite = [&](std::size_t from, std::size_t to) {
        std::string content = testing::readFile(file());
        std::fill(content.begin() + from, content.begin() + std::min(to, content.size()), '\x5A');
        testing::writeFile(file(), content);
    };
    struct {
        const char* name;
        std::function<void()> spoil;
    } cases[] = {
        {"empty", [&] { testing::writeFile(file(), ""); }},
        {"no database", [&] { testing::writeFile(file(), std::string(10'000, 'x')); }},
        {"cut off", [&] { fs::resize_file(file(), 4096); }},
        {"cut off within a page", [&] { fs::resize_file(file(), 5000); }},
        {"tables overwritten", [&] { overwrite(4096, 1'000'000); }},
        {"all but the header overwritten", [&] { overwrite(100, 1'000'000); }},
        {"another program's",
         [&] {
             testing::writeFile(file(), "");
             sql("CREATE TABLE t(a); PRAGMA user_version = 1");
         }},
        {"a later version's", [&] { sql("PRAGMA user_version = 2"); }},
        {"tables missing", [&] { sql("DROP TABLE domain; DROP TABLE item"); }},
        {"a folder",
         [&] {
             fs::remove(file());
             fs::create_directory(file());
         }},
        {"a FIFO",
         [&] {
             fs::remove(file());
             mkfifo(file().c_str(), 0600);
         }},
    };
    for (const auto& [name, spoil] : cases) {
        SCOPED_TRACE(name);
        fs::remove_all(data_);
        ASSERT_EQ(refusal(another()->addDomain("work", folder("work"))), "");
        spoil();
        std::string before = fs::is_regular_file(file()) ? testing::readFile(file()) : "";

        auto snapshot = another()->read();
        ASSERT_FALSE(snapshot);
        EXPECT_NE(snapshot.failure().sentence.find("file-provider.sqlite"), std::string::npos);
        EXPECT_EQ(snapshot.failure().sentence.find('\n'), std::string::npos);
        EXPECT_NE(refusal(another()->addDomain("more", folder("more"))), "");
        EXPECT_NE(refusal(another()->countSignal("work")), "");
        EXPECT_EQ(fs::is_regular_file(file()) ? testing::readFile(file()) : "", before);
    }
}

TEST_F(FileProviderRegistryTest, what_a_registry_that_was_deleted_left_behind_does_not_spoil_the_next) {
    ASSERT_EQ(refusal(another()->addDomain("old", folder("old"))), "");
    for (int signal = 0; signal < 3; ++signal) ASSERT_EQ(refusal(another()->countSignal("old")), "");
    ASSERT_TRUE(fs::exists(file() + "-wal"));
    fs::remove(file());
    ASSERT_EQ(refusal(registry_.addDomain("new", folder("new"))), "");
    EXPECT_EQ(domains(), std::vector<std::string>{"new"});
}

TEST_F(FileProviderRegistryTest, a_folder_that_cannot_be_made_is_said) {
    testing::writeFile(base_ / "home", "");
    std::string refused = refusal(registry_.addDomain("work", folder("work")));
    EXPECT_NE(refused.find(data_), std::string::npos) << refused;
    EXPECT_EQ(domains(), std::vector<std::string>());
}

}  // namespace tobrel
