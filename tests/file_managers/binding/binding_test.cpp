// Built once for each file manager, with the extension that goes into it.
#include "file_managers/binding/file_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/temporary_folder.h"

namespace tobrel {

namespace {

using ::testing::ElementsAre;
using testing::FileManager;
using ::testing::IsEmpty;
using testing::Selection;
namespace fs = std::filesystem;

template <class Value>
Value property(gpointer object, const char* name) {
    Value value{};
    g_object_get(object, name, &value, nullptr);
    return value;
}

using Visitor = std::function<void(const std::string& label, gpointer item)>;
void eachOfSubmenu(GList* items, const Visitor& visitor) {
    auto* menu = property<FM_TYPE(Menu)*>(items->data, "menu");
    GList* children = FM_FUNCTION(menu_get_items)(menu);
    for (GList* child = children; child; child = child->next) {
        char* label = property<char*>(child->data, "label");
        visitor(label, child->data);
        g_free(label);
    }
    FileManager::free(children);
    g_object_unref(menu);
}

// The words of the submenu, greyed ones in brackets.
std::vector<std::string> menuFor(const FileManager& manager, const Selection& selection) {
    GList* items = manager.items(selection);
    std::vector<std::string> words;
    if (items)
        eachOfSubmenu(items, [&](const std::string& label, gpointer item) {
            words.push_back(property<gboolean>(item, "sensitive") ? label : "[" + label + "]");
        });
    FileManager::free(items);
    return words;
}

void choose(const FileManager& manager, const Selection& selection, const std::string& wanted) {
    GList* items = manager.items(selection);
    eachOfSubmenu(items, [&](const std::string& label, gpointer item) {
        if (label == wanted) g_signal_emit_by_name(item, "activate");
    });
    FileManager::free(items);
}

}  // namespace

TEST(Menu, StandsOnItemsOfADomainAndHandsThemToTheProgram) {
    testing::TemporaryFolder folder;
    // The home folder by way of a link, as on machines whose /home is one.
    fs::create_directories(folder.path() / "real/Tobrel");
    fs::create_directory_symlink("real", folder.path() / "home");
    testHome = folder.file("home");
    FileProviderRegistry registry(testHome + "/.local/share/tobrel");
    ASSERT_TRUE(registry.addDomain("work", folder.file("real/Tobrel")));
    fs::create_directories(folder.path() / "lib");
    fs::create_directories(folder.path() / "bin");
    fs::copy_file(TOBREL_MENU_MODULE, folder.path() / "lib/menu.so");
    testing::writeFile(folder.path() / "bin/tobrel-action", "#!/bin/sh\n{ echo \"$@\"; cat; } >" + folder.file("part") +
                                                                "\nmv " + folder.file("part") + " " +
                                                                folder.file("called"));
    fs::permissions(folder.path() / "bin/tobrel-action", fs::perms::owner_all);

    FileManager manager(folder.file("lib/menu.so"));
    const std::string root = folder.file("home/Tobrel");
    manager.waitForMenu(Selection({root + "/file"}));

    EXPECT_THAT(menuFor(manager, Selection({root + "/file"})),
                ElementsAre("Make available offline", "Make online-only", "Share link", "[Share with a user]",
                            "[Manage sharing]", "View online"));
    EXPECT_THAT(menuFor(manager, Selection({folder.file("real/Tobrel/folder/")})),
                ElementsAre("Make available offline", "Make online-only", "Share link", "Share with a user",
                            "Manage sharing", "View online"));
    EXPECT_THAT(menuFor(manager, Selection({root + "/a/", root + "/b/"})),
                ElementsAre("Make available offline", "Make online-only", "Share link", "[Share with a user]",
                            "[Manage sharing]", "[View online]"));
    EXPECT_THAT(menuFor(manager, Selection({root + "/a", root + "-other/b"})), IsEmpty());
    EXPECT_THAT(menuFor(manager, Selection({"trash:///a"})), IsEmpty());
    EXPECT_THAT(menuFor(manager, Selection({})), IsEmpty());

    choose(manager, Selection({root + "/two\nlines", root + "/-b $(x)"}), "Share link");
    while (!fs::exists(folder.path() / "called")) g_main_context_iteration(nullptr, TRUE);
    using namespace std::string_literals;
    EXPECT_EQ(testing::readFile(folder.path() / "called"),
              "share --front-end gtk --items-from - -0\n" + root + "/two\nlines\0"s + root + "/-b $(x)\0"s);

    // A domain that comes later has its menu without a restart.
    fs::create_directories(folder.path() / "more");
    ASSERT_TRUE(registry.addDomain("more", folder.file("more")));
    manager.waitForMenu(Selection({folder.file("more/file")}));
}

}  // namespace tobrel
