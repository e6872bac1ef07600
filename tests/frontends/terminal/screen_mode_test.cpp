#include <gmock/gmock.h>

#include <stdexcept>
#include <thread>

#include "frontends/terminal/terminal_front_end.h"
#include "support/pty_child.h"
#include "support/sheet_host.h"

namespace tobrel {

using ::testing::HasSubstr;
using ::testing::Not;
using tobrel::testing::PtyChild;
using tobrel::testing::SheetHost;

// Runs in the child: a sheet as `prepare` makes it, on the child's terminal.
std::function<int()> shown(const std::function<void(SheetHost&, TerminalFrontEnd&)>& prepare) {
    return [prepare] {
        auto host = std::make_shared<SheetHost>();
        testing::NoBrowser browser;
        // Without styles, so that a drawn line is one text.
        TerminalFrontEnd frontEnd(STDIN_FILENO, STDOUT_FILENO, {"xterm", true, false, "/dev/null"}, browser);
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
    host.showLinkForm();
}

// Writes a line to standard error, then shows a result or ends by a signal.
void loggingForm(SheetHost& host, int signal) {
    host.actions["submitLink:"] = [&host, signal](NSButton&) {
        EXPECT_EQ(write(STDERR_FILENO, "logged\n", 7), 7);
        if (signal) raise(signal);
        host.showLabel("Created.");
    };
    host.showLinkForm();
}

TEST(ScreenMode, whatIsLoggedMeanwhileComesBehindTheSheet) {
    for (int signal : {0, SIGTERM}) {
        PtyChild child(shown([signal](SheetHost& host, TerminalFrontEnd&) { loggingForm(host, signal); }));
        child.expect("Link expires");
        child.send("\r");
        if (!signal) {
            child.expect("> Done <");
            child.send("\r");
        }
        std::string last = child.rest();
        EXPECT_TRUE(last.ends_with("logged\r\n")) << last;
        EXPECT_EQ(WTERMSIG(child.waitStatus()), signal);
    }
}

TEST(ScreenMode, aFormIsFilledInAndItsResultStaysAfterTheEnd) {
    PtyChild child(shown(linkForm));
    child.expect("[x] Link expires after >30    < days");
    EXPECT_FALSE(child.has(ICANON));
    child.send("0\r");
    child.expect("\a");
    child.expect("“0” is not accepted here");
    child.send("\x15" + std::string("7"));
    child.expect(">7     <");
    child.send("\r");
    child.expect("Created for 7 days.");
    child.expect("> Done <");
    child.send("\r");
    std::string last = child.rest();
    EXPECT_THAT(last, HasSubstr("\x1B[J\x1B[?25hCreated for 7 days.\r"));
    EXPECT_THAT(last.substr(last.rfind("\x1B[J")), Not(HasSubstr("Done")));
    EXPECT_TRUE(child.has(ICANON));
    EXPECT_EQ(child.waitStatus(), 0);
}

TEST(ScreenMode, keysMoveSwitchAndChooseOnATerminalOfAnySize) {
    PtyChild child(shown(linkForm));
    child.expect("Esc closes");
    child.send("\x1B[Z ");
    child.expect("> < Link expires after [30    ]");
    child.send("\t");
    child.expect("> Create Link <");  // the days are not available
    child.send("\x1B[D");
    child.expect("> < Link");
    child.resize(30, 12);
    child.expect("working. The files stay in\r");
    child.send("\x1B");
    EXPECT_EQ((child.rest(), child.waitStatus()), 0);

    PtyChild second(shown([](SheetHost& host, TerminalFrontEnd&) { host.showShareForm("R"); }));
    second.expect("Esc closes");
    second.send("\x1B[200~ann@x.org\r\x1B[201~\t\x1B[B");
    second.expect("[ann@x.org ");
    second.expect("> Can view, add, edit and delete ▾ <");
    second.send(" ");
    second.expect("> Can view and download ▾ <");
    second.send("\x03");
    EXPECT_EQ((second.rest(), second.waitStatus()), 0);
}

TEST(ScreenMode, anEnterMeanwhilePressesNothingAndAnEscapeLeavesAWord) {
    PtyChild child(shown([](SheetHost& host, TerminalFrontEnd&) {
        host.actions["submitLink:"] = [&host](NSButton&) {
            host.working = true;
            host.showLabel("Creating share link…");
        };
        host.showLinkForm();
    }));
    child.expect("Esc closes");
    child.send("\r");
    child.expect("Creating share link…");
    child.expect("[ Done ]");
    child.send("\r");
    child.expect("Waiting for 1 s");
    child.send("\x1B");
    EXPECT_THAT(child.rest(), HasSubstr("Closed before “Create Link” was answered"));
}

TEST(ScreenMode, aListNamesWhomAButtonIsAboutAndEndsAtItsEnd) {
    PtyChild child(shown([](SheetHost& host, TerminalFrontEnd&) {
        std::vector<std::string> people;
        for (int i = 1; i <= 40; ++i) people.push_back("p" + std::to_string(i) + "@x.org");
        host.showList(people);
    }));
    child.expect("PgUp PgDn scroll");
    child.send("\x1B[F");
    child.expect("p40@x.org");
    child.expect("Enter Stop sharing: p40@x.org · Esc closes");
    child.send("\x0C");
    child.expect("\x1B[H\x1B[2J");
    child.send("\x1B");
    child.rest();
}

TEST(ScreenMode, whatWasTypedAheadOfAPressDoesNotReachTheNextSheet) {
    PtyChild child(shown([&](SheetHost& host, TerminalFrontEnd&) {
        host.actions["revokeTapped:"] = [&host, pressed = 0](NSButton&) mutable {
            ++pressed;
            host.loop.async([&host, pressed] { host.showList({"left after " + std::to_string(pressed)}); });
        };
        host.showList({"ann", "bob"});
    }));
    child.expect("> Done <");
    child.send("\x1B[A\r\r\r");
    child.expect("left after 1  ·");
    child.expect("> Done <");
    // The focus went to the button that does no harm; the next move goes on where it was.
    child.send("\x1B[A\r");
    child.expect("left after 2  ·");
    child.send("\x1B");
    EXPECT_THAT(child.rest(), Not(HasSubstr("left after 3")));
}

TEST(ScreenMode, theTerminalIsRestoredHoweverTheProcessEnds) {
    std::pair<int, std::function<void()>> cases[] = {
        {SIGTERM, [] { raise(SIGTERM); }},
        {SIGABRT, [] { throw std::runtime_error("meant to end this process"); }},
    };
    for (auto& [expected, onPress] : cases) {
        PtyChild child([&, onPress = onPress] {
            signal(SIGTERM, SIG_DFL);
            signal(SIGABRT, SIG_DFL);
            // As outside of a test's own handlers of exceptions.
            std::thread program(shown([&](SheetHost& host, TerminalFrontEnd&) {
                host.actions["revokeTapped:"] = [&](NSButton&) { onPress(); };
                host.showList({"ann"});
            }));
            program.join();
            return 0;
        });
        child.expect("> Done <");
        EXPECT_FALSE(child.has(ICANON));
        child.send("\t\r");
        EXPECT_THAT(child.rest(), HasSubstr("\x1B[?25h"));
        EXPECT_TRUE(child.has(ICANON));
        int status = child.waitStatus();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == expected) << status;
    }
}

TEST(ScreenMode, aTerminalThatHangsUpClosesTheSheet) {
    PtyChild child([&] {
        signal(SIGHUP, SIG_IGN);
        return shown(linkForm)() + 5;
    });
    child.expect("Esc closes");
    child.hangUp();
    EXPECT_EQ(child.waitStatus(), W_EXITCODE(5, 0));
}

}  // namespace tobrel
