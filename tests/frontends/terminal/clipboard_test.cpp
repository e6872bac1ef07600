#include "frontends/terminal/clipboard.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

#include "platform/linux/main_loop_poll.h"
#include "support/temporary_folder.h"

namespace tobrel::terminal {

using ::testing::HasSubstr;
using tobrel::testing::TemporaryFolder;

TEST(ClipboardSequence, isBase64WithinWhatTerminalsTake) {
    EXPECT_EQ(clipboardSequence(""), "\x1B]52;c;\a");
    EXPECT_EQ(clipboardSequence("a"), "\x1B]52;c;YQ==\a");
    EXPECT_EQ(clipboardSequence("https://x.org/é\xFF"), "\x1B]52;c;aHR0cHM6Ly94Lm9yZy/Dqf8=\a");
    EXPECT_LE(clipboardSequence(std::string(74'000, 'x'))->size(), 100'000U);
    EXPECT_FALSE(clipboardSequence(std::string(74'001, 'x')));
}

class ClipboardTest : public ::testing::Test {
protected:
    ClipboardTest() {
        char name[64];
        openpty(&master_, &terminal_, name, nullptr, nullptr);
        termios raw;
        tcgetattr(terminal_, &raw);
        cfmakeraw(&raw);
        tcsetattr(terminal_, TCSANOW, &raw);
        terminalPath_ = name;
        pipe(pipe_);
    }
    ~ClipboardTest() override {
        for (int descriptor : {master_, terminal_, pipe_[0], pipe_[1]}) close(descriptor);
    }

    // What reaches the terminal, up to an end mark of this test's own.
    std::string received() {
        write(terminal_, "$", 1);
        std::string text;
        char byte;
        while (read(master_, &byte, 1) == 1 && byte != '$') text += byte;
        return text;
    }

    int terminal_ = -1;
    int pipe_[2] = {-1, -1};
    std::string terminalPath_;
    PollMainLoop loop_;

private:
    int master_ = -1;
};

TEST_F(ClipboardTest, goesToTheTerminalOfTheOutputElseToTheControllingOneElseNowhere) {
    struct {
        const char* name;
        int output;
        TerminalEnvironment environment;
        bool reached;
    } cases[] = {
        {"output is the terminal", terminal_, {"xterm", false, false, "/nowhere"}, true},
        {"output is a pipe", pipe_[1], {"xterm", false, false, terminalPath_}, true},
        {"no terminal at all", pipe_[1], {"xterm", false, false, "/nowhere"}, false},
        {"no terminal there", pipe_[1], {"xterm", false, false, "/dev/null"}, false},
        {"a dumb terminal", terminal_, {"dumb", false, false, "/nowhere"}, false},
    };
    for (auto& [name, output, environment, reached] : cases) {
        Clipboard clipboard(output, environment);
        clipboard.set("a", loop_);
        EXPECT_EQ(received(), reached ? "\x1B]52;c;YQ==\a" : "") << name;
        EXPECT_EQ(clipboard.note().about, "a");
        EXPECT_THAT(clipboard.note().text, HasSubstr(reached ? "was asked" : "No clipboard")) << name;
    }
}

// A program in the place of tmux, first in PATH for one test.
class ClipboardInTmuxTest : public ClipboardTest {
protected:
    ~ClipboardInTmuxTest() override { setenv("PATH", formerPath_.c_str(), 1); }
    void setTmux(const std::string& script) {
        testing::writeFile(folder_.file("tmux"), "#!/bin/sh\n" + script);
        std::filesystem::permissions(folder_.file("tmux"), std::filesystem::perms::owner_all);
        setenv("PATH", (folder_.path().string() + ":" + formerPath_).c_str(), 1);
    }

    TemporaryFolder folder_;
    const std::string formerPath_ = std::getenv("PATH");
    Clipboard clipboard_{terminal_, {"xterm", false, true, "/nowhere"}};
};

TEST_F(ClipboardInTmuxTest, goesThroughTmuxAndTheLoopHearsOfIt) {
    setTmux("echo \"$@\" >" + folder_.file("arguments") + "; cat >" + folder_.file("text"));
    std::string text(200'000, 'x');
    clipboard_.set(text, loop_);
    EXPECT_EQ(clipboard_.note().text, "");
    loop_.setDryHandler([&] {
        if (!clipboard_.note().text.empty()) loop_.stop();
    });
    loop_.run();
    EXPECT_THAT(clipboard_.note().text, HasSubstr("in tmux’s buffer"));
    EXPECT_EQ(testing::readFile(folder_.file("arguments")), "load-buffer -w -\n");
    EXPECT_EQ(testing::readFile(folder_.file("text")), text);
    EXPECT_EQ(received(), "");
}

TEST_F(ClipboardInTmuxTest, aTmuxThatFailsOrHangsIsSaidSoInBoundedTime) {
    for (const char* script : {"exit 1", "exec sleep 60"}) {
        setTmux(script);
        auto start = std::chrono::steady_clock::now();
        clipboard_.set("a", loop_);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
        clipboard_.finish();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
        EXPECT_THAT(clipboard_.note().text, HasSubstr("No clipboard")) << script;
    }
}

}  // namespace tobrel::terminal
