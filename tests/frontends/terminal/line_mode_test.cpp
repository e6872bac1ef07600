#include <fcntl.h>
#include <gmock/gmock.h>

#include "frontends/terminal/terminal_front_end.h"
#include "platform/file_descriptor.h"
#include "support/sheet_host.h"
#include "support/temporary_folder.h"

namespace tobrel {

using ::testing::HasSubstr;

class LineModeTest : public ::testing::Test {
protected:
    // The front end's whole output for this input.
    std::string run(const std::string& input) {
        testing::writeFile(folder_.file("input"), input);
        host->run(frontEnd);
        return testing::readFile(folder_.file("output"));
    }
    // What comes from elsewhere once the main queue has run dry and the input has been looked at.
    void answerWith(std::function<void()> answer) {
        host->working = true;
        answer_ = host->loop.startTimer(std::chrono::milliseconds(20), [this, answer = std::move(answer)] {
            answer();
            host->working = false;
        });
    }

private:
    testing::NoBrowser browser_;
    std::unique_ptr<Timer> answer_;
    testing::TemporaryFolder folder_;
    FileDescriptor input_{open(folder_.file("input").c_str(), O_RDONLY | O_CREAT, 0600)};
    FileDescriptor output_{open(folder_.file("output").c_str(), O_WRONLY | O_CREAT, 0600)};

protected:
    std::shared_ptr<testing::SheetHost> host = std::make_shared<testing::SheetHost>();
    TerminalFrontEnd frontEnd{input_.number(), output_.number(), {"xterm", false, false, "/dev/null"}, browser_};
};

TEST_F(LineModeTest, aScriptAnswersTheFormAndReadsItsResult) {
    host->actions["submitLink:"] = [&](NSButton&) {
        host->loop.async([&] { host->showLabel("Creating share link…"); });
        answerWith([&] {
            frontEnd.setString("https://x.org/a", NSPasteboardTypeString);
            host->showLabel("Link copied to the clipboard:\nhttps://x.org/a\nIt holds " + host->days->stringValue() +
                            " days.");
        });
    };
    host->showLinkForm();
    EXPECT_EQ(run("2 7\r\n\n"),
              "Share link for “Reports”\n\n[1] [x] Link expires after\n[2] days: 30\n"
              "After that the link stops working. The files stay in your Tobrel, and you can make a new link any time."
              "\n\n[3] Create Link (Enter)   [4] Cancel\n"
              "[2] days: 7\n\n"
              "Creating share link…\n\n"
              "No clipboard can be reached from here. Please copy the address below.\n"
              "Link copied to the clipboard:\nhttps://x.org/a\nIt holds 7 days.\n\n[1] Done (Enter)\n");
}

TEST_F(LineModeTest, enterActsOnTheFormThatWasChanged) {
    std::string pressed;
    host->actions["submitLink:"] = [&](NSButton& button) { pressed = button.title(); };
    host->showLinkForm("Copy Link");
    EXPECT_THAT(run("2 7\n\n"), HasSubstr("[2] days: 7\n[3] New Link (Enter)   [4] Copy Link   [5] Cancel\n"));
    EXPECT_EQ(pressed, "New Link");
}

TEST_F(LineModeTest, eachRefusalIsOneSentenceAndTheEndOfInputCloses) {
    host->actions["submitLink:"] = [&](NSButton&) {
        if (host->days->stringValue() == "0") frontEnd.beep();
        host->days->becomeFirstResponder();
    };
    host->showLinkForm();
    EXPECT_THAT(run("9\n2 0\n\n2 1\ncreate link\n4 x"),
                HasSubstr("[4] Cancel\nThere is no [9] here.\n"
                          "[2] days: 0\nThat was not accepted; please check [2].\n"
                          "[2] days: 1\nNothing has changed; please check [2].\n[4] takes no text.\n"));
    EXPECT_TRUE(host->ended);
}

TEST_F(LineModeTest, theNextLineWaitsForTheAnswerToThePressedButton) {
    std::vector<std::string> people = {"ann", "bob", "cid"};
    host->actions["revokeTapped:"] = [&](NSButton& button) {
        button.setEnabled(false);
        answerWith([&] {
            people.erase(people.begin());
            host->showList(people);
        });
    };
    host->showList(people);
    std::string text = run("1\n1\n");
    EXPECT_THAT(text, HasSubstr("[4] Done\nann  ·  view only   [1] Stop sharing (not available)\n\nSharing for"));
    EXPECT_TRUE(text.ends_with("\n\nSharing for “Reports”\n\ncid  ·  view only   [1] Stop sharing\n\n[2] Done\n"));
}

TEST_F(LineModeTest, anAddressThatNoBrowserTookIsPrintedInstead) {
    host->loop.async([&] {
        EXPECT_FALSE(frontEnd.openURL("https://x.org/a\x1B[2Jb"));
        host->showLabel("Opened in your browser.");
        host->end();
    });
    EXPECT_EQ(run(""), "No browser can be started from here. Please open this address:\nhttps://x.org/a␛[2Jb\n");
}

}  // namespace tobrel
