#include "platform/linux_online/browser_gio.h"

#include <fcntl.h>
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

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

// In the child of a process with several threads: calls that are safe there only.
[[noreturn]] void becomeProgram(const char* path, char* const* arguments, int report) {
    setsid();
    // A second child belongs to nobody here, so that nobody has to wait for it.
    pid_t child = fork();
    if (child != 0) _exit(child < 0 ? 1 : 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int number = 1; number < NSIG; ++number) signal(number, SIG_DFL);
    // Tells whether the program started, which closes it.
    int kept = fcntl(report, F_DUPFD_CLOEXEC, 3);
    int nothing = open("/dev/null", O_RDWR);
    for (int descriptor = 0; descriptor < 3; ++descriptor) dup2(nothing, descriptor);
    close_range(3, static_cast<unsigned>(kept) - 1, 0);
    close_range(static_cast<unsigned>(kept) + 1, ~0U, 0);
    execv(path, arguments);
    [[maybe_unused]] ssize_t written = write(kept, "x", 1);
    _exit(1);
}

bool startDetached(const CommandLine& line) {
    GText path(g_find_program_in_path(line.front().c_str()));
    std::vector<char*> arguments;
    for (auto& word : line) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    int report[2];
    if (!path || pipe2(report, O_CLOEXEC) != 0) return false;
    pid_t child = fork();
    if (child == 0) becomeProgram(path.get(), arguments.data(), report[1]);
    close(report[1]);
    char failure;
    ssize_t failed = 1;
    if (child > 0) {
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
        do failed = read(report[0], &failure, 1);
        while (failed < 0 && errno == EINTR);
        if (status != 0) failed = 1;
    }
    close(report[0]);
    return failed == 0;
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
