// What a right click waits for: the menu's items for 1,000 selected files in a domain of 100,000, built by the
// extension as the file manager loads it. Beside it what a file manager's files cost by themselves: asking each for its
// location.
#include "file_managers/binding/file_manager.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include "contest.h"

using namespace tobrel;
using namespace tobrel::testing;
namespace fs = std::filesystem;

namespace {

constexpr int registeredItems = 100000;
constexpr int selectedFiles = 1000;
constexpr int rounds = 1000;

double milliseconds(const std::function<void()>& work) {
    auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

void registerItems(const std::string& root) {
    FileProviderRegistry registry(testHome + "/.local/share/tobrel");
    if (!registry.addDomain("work", root)) throw std::runtime_error("no domain");
    auto edit = registry.editItems("work");
    if (!edit) throw std::runtime_error("no items");
    for (int number = 0; number < registeredItems; ++number)
        (*edit)->add(std::to_string(number), "folder/file-" + std::to_string(number));
    if (!(*edit)->commit()) throw std::runtime_error("no commit");
}

void measure(const fs::path& folder) {
    testHome = folder / "home";
    const std::string root = folder / "Tobrel";
    fs::create_directories(root);
    fs::create_directories(testHome);
    registerItems(root);
    std::vector<std::string> addresses;
    for (int number = 0; number < selectedFiles; ++number)
        addresses.push_back(root + "/folder/file-" + std::to_string(number));
    Selection selection(addresses);
    FileManager manager(TOBREL_MENU_MODULE);
    manager.waitForMenu(selection);

    bench::Contestant menu{"menu", {}}, floor{"asking for the locations alone", {}};
    for (int round = 0; round < rounds; ++round) {
        GList* items = nullptr;
        menu.times.push_back(milliseconds([&] { items = manager.items(selection); }));
        FileManager::free(items);
        floor.times.push_back(milliseconds([&] {
            for (GList* file = selection.files(); file; file = file->next)
                g_object_unref(FM_FUNCTION(file_info_get_location)(static_cast<FM_TYPE(FileInfo)*>(file->data)));
        }));
    }
    bench::Table table("The menu for 1,000 selected files in a domain of 100,000");
    table.row(TOBREL_MENU_NAME, menu, floor);
    std::nth_element(menu.times.begin(), menu.times.begin() + rounds / 2, menu.times.end());
    if (menu.times[rounds / 2] >= 1) bench::fail("the menu takes longer than 1 ms");
}

void run() {
    bench::Folder folder;
    measure(folder.path);
}

}  // namespace

int main() {
    return bench::guarded(run);
}
