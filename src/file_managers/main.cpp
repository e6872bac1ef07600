// tobrel-menu COMMAND ITEM...: what a file manager without native extensions puts into its service menu. Starts the
// command as the other menus do, and says on the desktop why it could not begin.
#include <gio/gio.h>

#include <cstdio>
#include <cstdlib>

#include "file_managers/launch.h"

int main(int count, char* words[]) {
    using namespace tobrel::menu;
    const Command* command = count > 2 ? commandOf(words[1]) : nullptr;
    if (!command) {
        std::fputs("tobrel-menu: the usage is: tobrel-menu COMMAND ITEM...\n", stderr);
        return 2;
    }
    std::string items;
    for (int index = 2; index < count; ++index) items.append(words[index]).push_back('\0');
    // This program stays until the command has ended: it has the desktop's token in its environment.
    char* self = g_file_read_link("/proc/self/exe", nullptr);
    GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    launch(*command, {actionProgram(self ? self : ""), items, ""}, [&] { g_main_loop_quit(loop); });
    g_free(self);
    g_main_loop_run(loop);
    g_main_loop_unref(loop);
    return 0;
}
