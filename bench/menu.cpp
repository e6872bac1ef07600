// What a right click waits for: the menu's items for 1,000 selected files in a domain of 100,000, built by the
// extension as the file manager loads it. Beside it what a file manager's files cost by themselves: asking each for its
// location.
#include "file_managers/binding/file_manager.h"

#include <stdlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>

using namespace tobrel;
using namespace tobrel::testing;
namespace fs = std::filesystem;

namespace {

constexpr int registeredItems = 100000;
constexpr int selectedFiles = 1000;
constexpr int rounds = 1000;

struct Spread {
    double median;
    double lowest;
    double highTail;
};

double milliseconds(const std::function<void()>& work) {
    auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

Spread spreadOf(std::vector<double> times) {
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times.front(), times[times.size() * 99 / 100]};
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

    std::vector<double> menus;
    std::vector<double> floors;
    for (int round = 0; round < rounds; ++round) {
        GList* items = nullptr;
        menus.push_back(milliseconds([&] { items = manager.items(selection); }));
        FileManager::free(items);
        floors.push_back(milliseconds([&] {
            for (GList* file = selection.files(); file; file = file->next)
                g_object_unref(FM_FUNCTION(file_info_get_location)(static_cast<FM_TYPE(FileInfo)*>(file->data)));
        }));
    }
    Spread menu = spreadOf(menus);
    Spread floor = spreadOf(floors);
    std::printf("%-9s %6.3f ms (least %.3f, 99 %% under %.3f); locations alone %.3f ms: x %.1f\n", TOBREL_MENU_NAME,
                menu.median, menu.lowest, menu.highTail, floor.median, menu.median / floor.median);
}

}  // namespace

int main() {
    std::string folder = (fs::temp_directory_path() / "tobrel-bench.XXXXXX").string();
    if (!mkdtemp(folder.data())) return 1;
    int status = 0;
    try {
        measure(folder);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
        status = 1;
    }
    fs::remove_all(folder);
    return status;
}
