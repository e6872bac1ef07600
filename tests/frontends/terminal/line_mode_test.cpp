#include <gmock/gmock.h>
#include <unistd.h>

#include <thread>

#include "frontends/terminal/sheet_host.h"
#include "frontends/terminal/terminal_front_end.h"
#include "support/temporary_folder.h"

namespace tobrel {

using ::testing::HasSubstr;
using tobrel::testing::NoBrowser;
using tobrel::testing::SheetHost;

class LineModeTest : public ::testing::Test {
protected:
    LineModeTest() {
        pipe(input_);
        pipe(output_);
        frontEnd = std::make_unique<TerminalFrontEnd>(input_[0], output_[1], TerminalEnvironment{"xterm"}, browser);
    }
    ~LineModeTest() override {
        for (int descriptor : {input_[0], input_[1], output_[0], output_[1]}) close(descriptor);
    }

    // The front end's whole output for these lines of input.
    std::string run(const std::string& input) {
        write(input_[1], input.data(), input.size());
        close(std::exchange(input_[1], -1));
        host->run(*frontEnd);
        return output();
    }
    std::string output() {
        close(std::exchange(output_[1], -1));
        while (readMore()) continue;
        return read_;
    }
    void readUntil(const std::string& text) {
        std::size_t start = read_.size();
        while (read_.find(text, start) == std::string::npos && readMore()) continue;
    }

    NoBrowser browser;
    std::shared_ptr<SheetHost> host = std::make_shared<SheetHost>();
    std::unique_ptr<TerminalFrontEnd> frontEnd;

private:
    bool readMore() {
        char bytes[4096];
        ssize_t count = read(output_[0], bytes, sizeof bytes);
        if (count > 0) read_.append(bytes, static_cast<std::size_t>(count));
        return count > 0;
    }

    int input_[2] = {-1, -1};
    int output_[2] = {-1, -1};
    std::string read_;
};

TEST_F(LineModeTest, aScriptAnswersTheFormAndReadsItsResult) {
    std::thread server;
    host->actions["submitLink:"] = [&](NSButton&) {
        host->loop.async([&] { host->showLabel("Creating share link…"); });
        // The answer comes from elsewhere, after the input has ended.
        server = std::thread([&] {
            readUntil("Creating share link…");
            host->loop.async([&] {
                frontEnd->setString("https://x.org/a", NSPasteboardTypeString);
                host->showLabel("Link copied to the clipboard:\nhttps://x.org/a\nIt holds " +
                                host->days->stringValue() + " days.");
            });
        });
    };
    host->showLinkForm("Reports");
    EXPECT_EQ(run("2 7\r\n\n"),
              "Share link for “Reports”\n\n[1] [x] Link expires after\n[2] days: 30\n"
              "After that the link stops working. The files stay in your Tobrel, and you can make a new link any time."
              "\n\n[3] Create Link (Enter)   [4] Cancel\n"
              "[2] days: 7\n\n"
              "Creating share link…\n\n"
              "Link copied to the clipboard:\nhttps://x.org/a\nIt holds 7 days.\n"
              "No clipboard can be reached from here. Please copy the address above.\n\n[1] Done (Enter)\n");
    server.join();
}

TEST_F(LineModeTest, eachRefusalIsOneSentenceAndTheEndOfInputCloses) {
    host->actions["submitLink:"] = [&](NSButton&) {
        if (host->days->stringValue() == "0") frontEnd->beep();
        host->days->becomeFirstResponder();
    };
    host->showLinkForm("Reports");
    std::string text = run("9\nopen\n2 0\n\n2 1\ncreate link\n4 x");
    EXPECT_THAT(text, HasSubstr("[4] Cancel\nThere is no [9] here.\n"
                                "There is nothing of that name here: please type one of the numbers.\n"
                                "[2] days: 0\nThat was not accepted; please check [2].\n"
                                "[2] days: 1\nNothing has changed; please check [2].\n[4] takes no text.\n"));
    EXPECT_TRUE(host->ended);
}

TEST_F(LineModeTest, theNextLineWaitsForTheAnswerToThePressedButton) {
    std::vector<std::string> people = {"ann", "bob", "cid"};
    std::thread server;
    host->actions["revokeTapped:"] = [&](NSButton& button) {
        button.setEnabled(false);
        if (server.joinable()) server.join();
        server = std::thread([&] {
            // Not before the pressed button has been seen.
            readUntil("(not available)");
            host->loop.async([&] {
                people.erase(people.begin());
                host->showList(people);
            });
        });
    };
    host->showList(people);
    std::string text = run("1\n1\n");
    server.join();
    EXPECT_THAT(text, HasSubstr("[4] Done\nann  ·  view only   [1] Stop sharing (not available)\n\nSharing for"));
    EXPECT_TRUE(text.ends_with("\n\nSharing for “Reports”\n\ncid  ·  view only   [1] Stop sharing\n\n[2] Done\n"));
}

TEST_F(LineModeTest, aRequestThatNeverAppearsLeavesItsResult) {
    host->showLabel("Made available offline");
    frontEnd->attach(*host, host->loop);
    frontEnd->requestEnded(std::nullopt, true);
    EXPECT_EQ(output(), "Made available offline\n");
}

TEST_F(LineModeTest, anAddressThatNoBrowserTookIsPrintedInstead) {
    host->showLabel("Opening in your browser…");
    host->loop.async([&] {
        EXPECT_FALSE(frontEnd->openURL("https://x.org/a\x1B[2Jb"));
        host->showLabel("Opened in your browser.");
        host->end();
    });
    EXPECT_EQ(run(""), "No browser can be started from here. Please open this address:\nhttps://x.org/a␛[2Jb\n");
}

}  // namespace tobrel
