#include "file_managers/launch.h"

#include <gio/gio.h>
#include <unistd.h>

#include <memory>
#include <string_view>

#include "file_managers/notification.h"

namespace tobrel::menu {

namespace {

struct Running {
    const Command& command;
    std::function<void()> ended;
};

constexpr std::string_view name = "tobrel-action: ";

std::string_view textOf(GBytes* said) {
    gsize length = 0;
    auto* bytes = static_cast<const char*>(g_bytes_get_data(said, &length));
    return {bytes ? bytes : "", length};
}

// The first line of what the program said, without the program's name.
std::string cause(std::string_view line) {
    line = line.substr(0, line.find('\n'));
    if (line.starts_with(name)) line.remove_prefix(name.size());
    return std::string(line.empty() ? "it ended without saying why; tobrel-admin doctor may know" : line);
}

void finished(GObject* object, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Running> running(static_cast<Running*>(data));
    auto* process = G_SUBPROCESS(object);
    GBytes* errors = nullptr;
    g_subprocess_communicate_finish(process, result, nullptr, &errors, nullptr);
    // Not what was ended by a signal: somebody wanted that. What was completed may have left a sentence all the same.
    bool exited = errors && g_subprocess_get_if_exited(process);
    if (exited && (g_subprocess_get_exit_status(process) != 0 || textOf(errors).starts_with(name)))
        notify(running->command.title, cause(textOf(errors)), std::move(running->ended));
    else if (running->ended)
        running->ended();
    if (errors) g_bytes_unref(errors);
}

}  // namespace

std::string actionProgram(const std::string& file) {
    for (auto slash = file.rfind('/'); slash != std::string::npos && slash > 0; slash = file.rfind('/', slash - 1)) {
        std::string program = file.substr(0, slash) + "/bin/tobrel-action";
        if (access(program.c_str(), X_OK) == 0) return program;
    }
    return "tobrel-action";
}

void launch(const Command& command, const Launch& launch, std::function<void()> ended) {
    constexpr int pipes =
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_SILENCE | G_SUBPROCESS_FLAGS_STDERR_PIPE;
    GSubprocessLauncher* launcher = g_subprocess_launcher_new(static_cast<GSubprocessFlags>(pipes));
    for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"})
        if (!launch.activationToken.empty())
            g_subprocess_launcher_setenv(launcher, name, launch.activationToken.c_str(), TRUE);
    const char* words[] = {launch.program.c_str(), command.word, "--front-end", "gtk",
                           "--items-from",         "-",          "-0",          nullptr};
    GSubprocess* process = g_subprocess_launcher_spawnv(launcher, words, nullptr);
    g_object_unref(launcher);
    if (!process) {
        notify(command.title, launch.program + " cannot be started; is the package tobrel-actions installed?",
               std::move(ended));
        return;
    }
    GBytes* input = g_bytes_new(launch.items.data(), launch.items.size());
    g_subprocess_communicate_async(process, input, nullptr, finished, new Running{command, std::move(ended)});
    g_bytes_unref(input);
    g_object_unref(process);
}

}  // namespace tobrel::menu
