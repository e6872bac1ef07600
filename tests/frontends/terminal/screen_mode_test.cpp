#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <thread>

#include "frontends/terminal/pty.h"
#include "frontends/terminal/sheet_host.h"
#include "frontends/terminal/terminal_front_end.h"

namespace tobrel {

using ::testing::HasSubstr;
using ::testing::Not;
using tobrel::testing::NoBrowser;
using tobrel::testing::PtyChild;
using tobrel::testing::SheetHost;

// Without styles, so that a drawn line is one text.
const TerminalEnvironment plainScreen = {"xterm", true, false, "/dev/null"};

// Runs in the child: a sheet as `prepare` makes it, on the child's terminal.
std::function<int()> sheet(const std::function<void(SheetHost&, TerminalFrontEnd&)>& prepare) {
    return [prepare] {
        auto host = std::make_shared<SheetHost>();
        NoBrowser browser;
        TerminalFrontEnd frontEnd(STDIN_FILENO, STDOUT_FILENO, plainScreen, browser);
        prepare(*host, frontEnd);
        host->run(frontEnd);
        return 0;
    };
}

void linkForm(SheetHost& host, TerminalFrontEnd& frontEnd) {
    host.check->setTarget(host.weak_from_this());
    host.check->setAction("expiryToggled:");
    host.actions["expiryToggled:"] = [&host](NSButton& check) { host.days->setEnabled(check.isOn()); };
    host.actions["submitLink:"] = [&](NSButton&) {
        if (host.days->stringValue() != "7") {
            frontEnd.beep();
            return host.days->becomeFirstResponder();
        }
        host.loop.async([&host] { host.showLabel("Created for " + host.days->stringValue() + " days."); });
    };
    host.showLinkForm("Reports");
}

bool takesSingleKeys(const PtyChild& child) {
    return !(child.attributes().c_lflag & ICANON);
}

TEST(ScreenMode, aFormIsFilledInAndItsResultStaysAfterTheEnd) {
    PtyChild child(sheet(linkForm));
    child.expect("[x] Link expires after >30    < days");
    EXPECT_TRUE(takesSingleKeys(child));
    child.send("0\r");
    child.expect("\a");
    child.send("\x15" + std::string("7"));
    child.expect(">7     <");
    child.send("\r");
    child.expect("Created for 7 days.");
    child.expect("> Done <");
    child.send("\r");
    std::string last = child.rest();
    EXPECT_THAT(last, HasSubstr("\x1B[J\x1B[?25hCreated for 7 days.\r"));
    EXPECT_THAT(last.substr(last.rfind("\x1B[J")), Not(HasSubstr("Done")));
    EXPECT_FALSE(takesSingleKeys(child));
    EXPECT_EQ(child.waitStatus(), 0);
}

TEST(ScreenMode, keysMoveSwitchAndChoose) {
    PtyChild child(sheet(linkForm));
    child.expect("Esc closes");
    child.send("\x1B[Z ");
    child.expect("> < Link expires after [30    ]");
    child.send("\t");
    child.expect("> Create Link <");  // the days are not available
    child.send("\x1B[D");
    child.expect("> < Link");
    child.send("\x1B");
    child.rest();
    EXPECT_EQ(child.waitStatus(), 0);

    PtyChild second(sheet([](SheetHost& host, TerminalFrontEnd&) { host.showShareForm("R"); }));
    second.expect("Esc closes");
    second.send("\x1B[200~ann@x.org\r\x1B[201~\t\x1B[B");
    second.expect("[ann@x.org ");
    second.expect("> Can view, add, edit and delete ▾ <");
    second.send(" ");
    second.expect("> Can view and download ▾ <");
    second.send("\x03");
    second.rest();
    EXPECT_EQ(second.waitStatus(), 0);
}

TEST(ScreenMode, whatWasTypedAheadOfAPressDoesNotReachTheNextSheet) {
    int answer[2];
    ASSERT_EQ(pipe(answer), 0);
    PtyChild child(sheet([&](SheetHost& host, TerminalFrontEnd&) {
        host.actions["revokeTapped:"] = [&host, pressed = 0](NSButton&) mutable {
            ++pressed;
            host.loop.async([&host, pressed] { host.showList({"left after " + std::to_string(pressed)}); });
        };
        host.showLabel("Checking sharing…");
        host.loop.watchInput(answer[0], [&host, &answer] {
            host.loop.unwatchInput(answer[0]);
            host.showList({"ann", "bob"});
        });
    }));
    child.expect("Checking sharing…");
    ASSERT_EQ(write(answer[1], "\n", 1), 1);
    child.expect("bob");
    child.expect("> Done <");
    child.send("\x1B[A\r\r\r");
    child.expect("left after 1  ·");
    child.expect("> Done <");
    // The focus went to the button that does no harm; the next move goes on where it was.
    child.send("\x1B[A\r");
    child.expect("left after 2  ·");
    child.send("\x1B");
    EXPECT_THAT(child.rest(), Not(HasSubstr("left after 3")));
    for (int descriptor : answer) close(descriptor);
}

TEST(ScreenMode, redrawsForTheTerminalsNewSize) {
    PtyChild child(sheet(linkForm));
    child.expect("Esc closes");
    child.resize(30, 12);
    child.expect("working. The files stay in\r");
    child.send("\x1B");
    EXPECT_EQ((child.rest(), child.waitStatus()), 0);
}

TEST(ScreenMode, theTerminalIsRestoredHoweverTheProcessEnds) {
    struct {
        const char* name;
        std::function<void()> onPress;
        int status;
    } cases[] = {
        {"a signal", [] { raise(SIGTERM); }, SIGTERM},
        {"an exception", [] { throw std::runtime_error("meant to end this process"); }, SIGABRT},
    };
    for (auto& [name, onPress, status] : cases) {
        PtyChild child([&, onPress = onPress] {
            signal(SIGTERM, SIG_DFL);
            signal(SIGABRT, SIG_DFL);
            // As outside of a test's own handlers of exceptions.
            std::thread program([&] {
                sheet([&](SheetHost& host, TerminalFrontEnd&) {
                    host.actions["revokeTapped:"] = [&](NSButton&) { onPress(); };
                    host.showList({"ann"});
                })();
            });
            program.join();
            return 0;
        });
        child.expect("> Done <");
        EXPECT_TRUE(takesSingleKeys(child)) << name;
        child.send("\t\r");
        EXPECT_THAT(child.rest(), HasSubstr("\x1B[?25h"));
        EXPECT_FALSE(takesSingleKeys(child)) << name;
        int ended = child.waitStatus();
        EXPECT_TRUE(WIFSIGNALED(ended) && WTERMSIG(ended) == status) << name;
    }
}

TEST(ScreenMode, aTerminalThatHangsUpClosesTheSheet) {
    PtyChild child([&] {
        signal(SIGHUP, SIG_IGN);
        return sheet(linkForm)() + 5;
    });
    child.expect("Esc closes");
    child.hangUp();
    int status = child.waitStatus();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 5);
}

}  // namespace tobrel
