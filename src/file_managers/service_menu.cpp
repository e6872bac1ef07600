// A program of the build: writes Dolphin's service menus, of which one file holds the commands of one rule.
// service_menu FOLDER PROGRAM: PROGRAM is what the commands start.
#include <fstream>
#include <string>

#include "file_managers/commands.h"

namespace {

using namespace tobrel::menu;

struct ServiceMenu {
    const char* file;
    Rule rule;
    const char* types;
    bool takesOne;
};

constexpr ServiceMenu serviceMenus[] = {
    {"tobrel.desktop", Rule::anything, "all/all;", false},
    {"tobrel-folder.desktop", Rule::oneFolder, "inode/directory;", true},
    {"tobrel-item.desktop", Rule::oneItem, "all/all;", true},
};

std::string textOf(const ServiceMenu& menu, const std::string& program) {
    std::string actions;
    std::string groups;
    for (const Command& command : commands) {
        if (command.rule != menu.rule) continue;
        std::string word = command.word;
        actions += word + ";";
        groups += "\n[Desktop Action " + word + "]\nName=" + command.title + "\nIcon=tobrel\nExec=" + program + " " +
                  word + " %F\n";
    }
    return std::string("[Desktop Entry]\nType=Service\nX-KDE-ServiceTypes=KonqPopupMenu/Plugin\nMimeType=") +
           menu.types + "\nX-KDE-Submenu=Tobrel\nX-KDE-Protocols=file\n" +
           (menu.takesOne ? "X-KDE-RequiredNumberOfUrls=1\n" : "") + "Icon=tobrel\nActions=" + actions + "\n" + groups;
}

}  // namespace

int main(int count, char* words[]) {
    if (count != 3) return 2;
    bool written = true;
    for (const ServiceMenu& menu : serviceMenus) {
        std::ofstream file(std::string(words[1]) + "/" + menu.file);
        file << textOf(menu, words[2]);
        file.close();
        written = written && file.good();
    }
    return written ? 0 : 1;
}
