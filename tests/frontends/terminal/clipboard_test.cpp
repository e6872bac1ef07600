#include "frontends/terminal/clipboard.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pty.h>

#include <chrono>

#include "platform/file_descriptor.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

namespace tobrel::terminal {

using ::testing::HasSubstr;

TEST(ClipboardSequence, isBase64WithinWhatTerminalsTake) {
    EXPECT_EQ(clipboardSequence("https://x.org/é\xFF"), "\x1B]52;c;aHR0cHM6Ly94Lm9yZy/Dqf8=\a");
    EXPECT_LE(clipboardSequence(std::string(74'000, 'x'))->size(), 100'000U);
    EXPECT_FALSE(clipboardSequence(std::string(74'001, 'x')));
}

class ClipboardTest : public ::testing::Test {
protected:
    ClipboardTest() {
        int master, terminal;
        char name[64];
        openpty(&master, &terminal, name, nullptr, nullptr);
        terminalPath_ = name;
        master_ = FileDescriptor(master);
        terminal_ = FileDescriptor(terminal);
    }

    // What reaches the terminal, up to an end mark of this test's own.
    std::string received() {
        EXPECT_EQ(write(terminal_.number(), "$", 1), 1);
        std::string text;
        char byte;
        while (read(master_.number(), &byte, 1) == 1 && byte != '$') text += byte;
        return text;
    }
    // A program in the place of tmux, first in PATH.
    void setTmux(const std::string& script) {
        testing::writeFile(folder_.file("tmux"), "#!/bin/sh\n" + script);
        std::filesystem::permissions(folder_.file("tmux"), std::filesystem::perms::owner_all);
    }

    FileDescriptor master_, terminal_;
    std::string terminalPath_;
    const TerminalEnvironment insideTmux_{"xterm", false, true, "/nowhere"};
    testing::TemporaryFolder folder_;
    testing::EnvironmentVariable path_{"PATH", folder_.path().string() + ":" + std::getenv("PATH")};
};

TEST_F(ClipboardTest, goesToTheTerminalOfTheOutputElseToTheControllingOneElseNowhere) {
    FileDescriptor file(open("/dev/null", O_WRONLY));
    struct {
        const char* name;
        const FileDescriptor& output;
        TerminalEnvironment environment;
        bool reached;
    } cases[] = {
        {"output is the terminal", terminal_, {"xterm", false, false, "/nowhere"}, true},
        {"output is none", file, {"xterm", false, false, terminalPath_}, true},
        {"no terminal at all", file, {"xterm", false, false, "/nowhere"}, false},
        {"no terminal there", file, {"xterm", false, false, "/dev/null"}, false},
        {"a dumb terminal", terminal_, {"dumb", false, false, "/nowhere"}, false},
    };
    for (auto& [name, output, environment, reached] : cases) {
        Clipboard clipboard(output.number(), environment);
        clipboard.set("a");
        EXPECT_EQ(received(), reached ? "\x1B]52;c;YQ==\a" : "") << name;
        EXPECT_THAT(clipboard.note().text, HasSubstr(reached ? "was asked" : "No clipboard")) << name;
    }
}

TEST_F(ClipboardTest, goesThroughTmuxWhateverItsLength) {
    setTmux("echo \"$@\" >" + folder_.file("arguments") + "; cat >" + folder_.file("text"));
    Clipboard clipboard(terminal_.number(), insideTmux_);
    std::string text(200'000, 'x');
    clipboard.set(text);
    EXPECT_THAT(clipboard.note().text, HasSubstr("in tmux’s buffer"));
    EXPECT_EQ(testing::readFile(folder_.file("arguments")), "load-buffer -w -\n");
    EXPECT_EQ(testing::readFile(folder_.file("text")), text);
    EXPECT_EQ(received(), "");
}

TEST_F(ClipboardTest, aTmuxThatFailsOrHangsIsSaidSoInBoundedTime) {
    using std::chrono::steady_clock;
    for (const char* script : {"exit 1", "exec sleep 60"}) {
        setTmux(script);
        Clipboard clipboard(terminal_.number(), insideTmux_);
        auto start = steady_clock::now();
        clipboard.set("a");
        EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(5));
        EXPECT_THAT(clipboard.note().text, HasSubstr("No clipboard")) << script;
    }
}

}  // namespace tobrel::terminal
