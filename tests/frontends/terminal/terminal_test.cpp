#include <gmock/gmock.h>
#include <sys/wait.h>

#include <csignal>

#include "frontends/terminal/terminal_front_end.h"
#include "support/environment.h"
#include "support/pty_child.h"
#include "support/sheet_host.h"

namespace tobrel::testing {

namespace {

int show(const std::string& term, const std::function<void(SheetHost&)>& prepare) {
    auto host = std::make_shared<SheetHost>();
    NoBrowser browser;
    TerminalFrontEnd frontEnd(STDIN_FILENO, STDOUT_FILENO, {term, true, false, "/dev/null"}, browser);
    prepare(*host);
    host->run(frontEnd);
    return 0;
}

// What a shell does: the work as a job of its own in the foreground, brought back by Enter once it has been stopped.
int underJobControl(const std::function<int()>& work) {
    signal(SIGTTOU, SIG_IGN);
    pid_t job = fork();
    if (job == 0) {
        setpgid(0, 0);
        tcsetpgrp(STDIN_FILENO, getpid());
        _exit(work());
    }
    int status = 0;
    waitpid(job, &status, WUNTRACED);
    if (!WIFSTOPPED(status)) return 2;
    tcsetpgrp(STDIN_FILENO, getpgrp());
    char enter;
    if (write(STDOUT_FILENO, "stopped", 7) != 7 || read(STDIN_FILENO, &enter, 1) != 1) return 3;
    tcsetpgrp(STDIN_FILENO, job);
    kill(-job, SIGCONT);
    waitpid(job, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 4;
}

}  // namespace

TEST(TerminalEnvironment, noColorIsWantedByAnyValueButAnEmptyOne) {
    for (auto [value, wanted] : {std::pair("1", true), {"0", true}, {"", false}}) {
        EnvironmentVariable variable("NO_COLOR", value);
        EXPECT_EQ(TerminalEnvironment::ofProcess().noColor, wanted) << value;
    }
}

TEST(ScreenMode, goesToTheBackgroundWithTheTerminalAsItWasAndComesBack) {
    PtyChild child(
        [] { return underJobControl([] { return show("xterm", [](SheetHost& host) { host.showShareForm("R"); }); }); });
    child.expect("Esc closes");
    child.send("\x1A");
    child.expect("stopped");
    EXPECT_TRUE(child.has(ICANON) && child.has(ECHO));
    child.send("\n");
    child.expect("Esc closes");
    EXPECT_FALSE(child.has(ICANON));
    child.send("\x1B");
    EXPECT_EQ((child.rest(), child.waitStatus()), 0);
}

TEST(ScreenMode, pagesThroughALongListAndBack) {
    PtyChild child([] {
        return show("xterm", [](SheetHost& host) {
            std::vector<std::string> people;
            for (int number = 100; number < 200; ++number) people.push_back("p" + std::to_string(number));
            host.showList(people);
        });
    });
    child.expect("> Done <");
    child.send("\x1B[H");
    child.expect("p100  ·  view only  > Stop sharing <");
    child.send("\x1B[6~");
    child.expect("> Stop sharing <");
    child.send("\x1B[5~");
    child.expect("p100  ·  view only  > Stop sharing <");
    child.send("\x1B");
    EXPECT_EQ((child.rest(), child.waitStatus()), 0);
}

TEST(LineMode, promptsOnATerminalForEachLine) {
    PtyChild child([] { return show("dumb", [](SheetHost& host) { host.showShareForm("R"); }); });
    child.expect("[3] Share (Enter)   [4] Cancel");
    child.expect("\r\n> ");
    child.send("1 ann@x.org\n");
    child.expect("[1] their Tobrel email: ann@x.org");
    child.expect("\r\n> ");
    child.send("4\n");
    EXPECT_EQ((child.rest(), child.waitStatus()), 0);
}

}  // namespace tobrel::testing
