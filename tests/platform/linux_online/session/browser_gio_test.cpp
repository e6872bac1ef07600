#include "platform/linux_online/browser_on_demand.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "support/environment.h"
#include "support/temporary_folder.h"

namespace tobrel {

using namespace tobrel::testing;

// The calls run in child processes, which have an environment of their own and end right after the call.
class GioBrowserTest : public ::testing::Test {
protected:
    using Environment = std::vector<std::pair<std::string, std::string>>;

    GioBrowserTest() {
        mkfifo(file("opened").c_str(), 0600);
        // Tells its arguments, its standard output and its session.
        program("browser",
                "out=$(readlink /proc/$$/fd/1); session=$(cut -d' ' -f6 /proc/$$/stat)\n"
                "for word in \"$@\" $out $session; do echo \"$word\"; done >" +
                    quoted("opened"));
        std::filesystem::create_directories(folder_.path() / "applications");
        writeFile(folder_.path() / "applications/mimeapps.list",
                  "[Default Applications]\nx-scheme-handler/https=test.desktop\n");
    }

    std::string file(const std::string& name) const { return folder_.file(name); }
    // As a shell and a command line take it.
    std::string quoted(const std::string& name) const { return "'" + file(name) + "'"; }
    void program(const std::string& name, const std::string& script) {
        writeFile(file(name), "#!/bin/sh\n" + script);
        std::filesystem::permissions(file(name), std::filesystem::perms::owner_all);
    }
    void desktopEntry(const std::string& command, const std::string& more = "") {
        writeFile(folder_.path() / "applications/test.desktop",
                  "[Desktop Entry]\nType=Application\nName=Test\nExec=" + command +
                      "\nMimeType=x-scheme-handler/https;\n" + more);
    }

    bool open(const std::string& url, const Environment& environment) const {
        pid_t child = fork();
        if (child == 0) {
            for (const char* name : {"BROWSER", "DISPLAY", "WAYLAND_DISPLAY"}) unsetenv(name);
            setenv("XDG_DATA_HOME", folder_.path().c_str(), 1);
            setenv("XDG_CONFIG_HOME", folder_.path().c_str(), 1);
            setenv("XDG_DATA_DIRS", file("none").c_str(), 1);
            for (auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
            _exit(BrowserOnDemand().openURL(url) ? 0 : 1);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return status == 0;
    }
    TemporaryFolder folder_;
};

TEST_F(GioBrowserTest, theBrowserOpensAfterThisProcessHasEnded) {
    const std::string url = "https://x.org/a;b&c#files/%20$(d)";
    desktopEntry(quoted("browser") + " --new %i \"a b\" %U");
    struct {
        Environment environment;
        std::string given;
    } cases[] = {
        {{{"DISPLAY", ":99"}}, "--new\na b\n" + url + "\n"},
        {{{"BROWSER", quoted("browser")}}, url + "\n"},
        {{{"BROWSER", "/nowhere/lynx:" + quoted("browser") + " -u 'a %s'"}}, "-u\na " + url + "\n"},
        {{{"BROWSER", "/nowhere/lynx"}, {"DISPLAY", ":99"}}, "--new\na b\n" + url + "\n"},
    };
    for (auto& [environment, given] : cases) {
        EXPECT_TRUE(open(url, environment));
        const std::string seen = readFile(file("opened")), expected = given + "/dev/null\n";
        ASSERT_TRUE(seen.starts_with(expected)) << seen;
        EXPECT_NE(std::stoi(seen.substr(expected.size())), getsid(0));
    }
}

TEST_F(GioBrowserTest, saysSoWhereNothingCanBeStarted) {
    const Environment display = {{"DISPLAY", ":99"}};
    EXPECT_FALSE(open("https://x.org/", display)) << "no entry";
    desktopEntry("/nowhere/browser %u");
    EXPECT_FALSE(open("https://x.org/", display)) << "no such program";
    desktopEntry(quoted("browser") + " %u", "Terminal=true\n");
    EXPECT_FALSE(open("https://x.org/", display)) << "wants a terminal of its own";
    desktopEntry(quoted("browser") + " %u");
    EXPECT_FALSE(open("https://x.org/", {})) << "no display";
    EXPECT_FALSE(open("https://x.org/", {{"BROWSER", ":/nowhere/lynx:'"}})) << "no usable BROWSER";
    const Environment browser = {{"BROWSER", quoted("browser")}};
    for (const char* address : {"other://x.org/", "no address", "--new", "file:///etc/passwd"})
        EXPECT_FALSE(open(address, browser)) << address;
    program("failing", "exit 3");
    EXPECT_FALSE(open("https://x.org/", {{"BROWSER", quoted("failing")}})) << "ends at once with a failure";
    program("broken", "");
    writeFile(file("broken"), "no program at all\n");
    EXPECT_FALSE(open("https://x.org/", {{"BROWSER", quoted("broken")}})) << "cannot be run";
}

TEST_F(GioBrowserTest, aBrowserThatStaysOpenIsNotWaitedFor) {
    program("slow", "echo $$ >" + quoted("opened") + "; exec sleep 60");
    EnvironmentVariable browser("BROWSER", quoted("slow"));
    auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(BrowserOnDemand().openURL("https://x.org/"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(kill(std::stoi(readFile(file("opened"))), SIGKILL), 0);
    wait(nullptr);
}

}  // namespace tobrel
