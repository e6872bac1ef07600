#include "platform/linux_online/session/browser_gio.h"

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/file_descriptor.h"

namespace tobrel {

namespace {

struct GFree {
    void operator()(void* memory) const { g_free(memory); }
};
struct GUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
using GText = std::unique_ptr<char, GFree>;
using CommandLine = std::vector<std::string>;

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

CommandLine words(const std::string& command) {
    int count = 0;
    char** parsed = nullptr;
    if (!g_shell_parse_argv(command.c_str(), &count, &parsed, nullptr)) return {};
    CommandLine line(parsed, parsed + count);
    g_strfreev(parsed);
    return line;
}

void replaceCodes(CommandLine& line, const std::string& url, std::string_view addressCodes) {
    bool given = false;
    CommandLine replaced;
    for (auto& word : line) {
        std::string result;
        bool dropped = false;
        for (std::size_t i = 0; i < word.size(); ++i) {
            if (word[i] != '%' || i + 1 == word.size()) {
                result += word[i];
                continue;
            }
            char code = word[++i];
            bool isAddress = addressCodes.find(code) != std::string_view::npos;
            if (isAddress) result += url;
            if (code == '%') result += '%';
            given |= isAddress;
            // Codes for an icon, a title or the entry's file, and those out of use.
            dropped |= !isAddress && code != '%' && word.size() == 2;
        }
        if (!dropped) replaced.push_back(std::move(result));
    }
    if (!given) replaced.push_back(url);
    line = std::move(replaced);
}

bool isRunnable(const CommandLine& line) {
    if (line.empty()) return false;
    return GText(g_find_program_in_path(line.front().c_str())) != nullptr;
}

// In the child, before it becomes the program: calls that are safe there only.
void leaveSession(gpointer) {
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
}

// A browser that cannot work often says so at once; one that lives on, or has handed the address over, has it.
bool failsAtOnce(pid_t program) {
    constexpr int atOnce = 100;
    FileDescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, program, 0)));
    pollfd ended{handle.number(), POLLIN, 0};
    while (poll(&ended, 1, atOnce) < 0 && errno == EINTR) continue;
    int status = 0;
    return waitpid(program, &status, WNOHANG) == program && status != 0;
}

bool startDetached(const CommandLine& line) {
    std::vector<char*> arguments;
    for (auto& word : line) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    constexpr int flags =
        G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL;
    GPid program = 0;
    return g_spawn_async(nullptr, arguments.data(), nullptr, static_cast<GSpawnFlags>(flags), leaveSession, nullptr,
                         &program, nullptr) &&
           !failsAtOnce(program);
}

// BROWSER is a colon-separated list; the first entry that can be started takes the address.
bool openWithNamedBrowser(const std::string& url) {
    std::string list = environmentValue("BROWSER");
    for (std::size_t start = 0; start < list.size();) {
        std::size_t end = std::min(list.find(':', start), list.size());
        CommandLine line = words(list.substr(start, end - start));
        start = end + 1;
        if (!isRunnable(line)) continue;
        replaceCodes(line, url, "s");
        if (startDetached(line)) return true;
    }
    return false;
}

// Started here rather than through GIO, which may hand it to the session bus and leave the rest to a main loop.
bool openWithDesktopBrowser(const std::string& url) {
    if (environmentValue("DISPLAY").empty() && environmentValue("WAYLAND_DISPLAY").empty()) return false;
    GText scheme(g_uri_parse_scheme(url.c_str()));
    if (!scheme) return false;
    std::unique_ptr<GAppInfo, GUnref> program(g_app_info_get_default_for_uri_scheme(scheme.get()));
    if (!program || !G_IS_DESKTOP_APP_INFO(program.get())) return false;
    if (g_desktop_app_info_get_boolean(G_DESKTOP_APP_INFO(program.get()), G_KEY_FILE_DESKTOP_KEY_TERMINAL))
        return false;
    const char* command = g_app_info_get_commandline(program.get());
    CommandLine line = words(command ? command : "");
    if (!isRunnable(line)) return false;
    replaceCodes(line, url, "uUfF");
    return startDetached(line);
}

}  // namespace

bool GioBrowser::openURL(const std::string& url) {
    return openWithNamedBrowser(url) || openWithDesktopBrowser(url);
}

}  // namespace tobrel
