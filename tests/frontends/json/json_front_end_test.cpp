#include "frontends/json/json_front_end.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/json.hpp>
#include <future>
#include <map>
#include <sstream>
#include <thread>

#include "frontends/sheet/user.h"
#include "platform/file_descriptor.h"
#include "platform/linux/main_loop_poll.h"

namespace tobrel {
namespace {

namespace json = boost::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

std::string readToEnd(int descriptor) {
    std::string content;
    char buffer[4096];
    for (ssize_t count; (count = read(descriptor, buffer, sizeof buffer)) > 0;) content.append(buffer, count);
    return content;
}

FileDescriptor fileWith(const std::string& content) {
    FileDescriptor file(memfd_create("script", MFD_CLOEXEC));
    EXPECT_EQ(write(file.number(), content.data(), content.size()), static_cast<ssize_t>(content.size()));
    lseek(file.number(), 0, SEEK_SET);
    return file;
}

std::string text(const json::object& event, const char* member) {
    return std::string(event.at(member).as_string());
}

std::vector<std::string> names(const std::vector<json::object>& events) {
    std::vector<std::string> list;
    for (auto& event : events) list.push_back(text(event, "event"));
    return list;
}

// Plays the host of one sheet, whose end is the loop's end.
class JsonFrontEndTest : public ::testing::Test, public Sheet, public ActionTarget {
protected:
    JsonFrontEndTest() {
        signal(SIGPIPE, SIG_IGN);
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        reading_ = FileDescriptor(ends[0]);
        writing_ = FileDescriptor(ends[1]);
        create_->setKeyEquivalent("\r");
        expires_->setTarget(target_);
        expires_->setAction("expiryToggled:");
        role_->addItemWithTitle("read");
        role_->addItemWithTitle("write");
        add({create_, expires_, days_, role_, label_});
    }

    NSView& rootView() override { return root_; }
    CGSize preferredContentSize() const override { return {460, 166}; }
    bool isWorking() const override { return working_; }
    void close() override {
        loop_.async([this] { end({}); });
    }
    bool performSelector(std::string_view selector, NSView*) override {
        actions_.emplace_back(selector);
        if (auto& action = onAction_[actions_.back()]) action();
        return true;
    }
    void end(const std::optional<NSError>& cancelled) {
        frontEnd_->requestEnded(cancelled, true);
        loop_.stop();
    }
    void add(std::initializer_list<std::shared_ptr<NSView>> views) {
        for (auto& view : views) root_.addSubview(view);
    }

    void runLoop(const FileDescriptor& output, const FileDescriptor& input) {
        frontEnd_.emplace(output.number(), input.number());
        frontEnd_->attach(*this, loop_);
        loop_.setDryHandler([this] { frontEnd_->mainQueueRanDry(true); });
        frontEnd_->appear();
        loop_.run();
    }
    // What has been written, once nothing more can come. Every line must be an object on its own.
    std::vector<json::object> events() {
        auto reader = std::async(std::launch::async, [this] { return readToEnd(reading_.number()); });
        frontEnd_.reset();
        writing_ = FileDescriptor();
        std::istringstream written(reader.get());
        std::vector<json::object> list;
        for (std::string line; std::getline(written, line);) list.push_back(json::parse(line).as_object());
        return list;
    }
    std::vector<json::object> run(const std::vector<std::string>& instructions) {
        std::string script;
        for (auto& instruction : instructions) script += instruction + "\n";
        runLoop(writing_, fileWith(script));
        return events();
    }

    FileDescriptor reading_, writing_;
    PollMainLoop loop_;
    std::unique_ptr<Timer> timer_;
    NSView root_;
    std::shared_ptr<ActionTarget> target_ = std::shared_ptr<ActionTarget>(this, [](auto) {});
    std::shared_ptr<NSButton> create_ = NSButton::buttonWithTitle("Create Link", target_, "submitLink:");
    std::shared_ptr<NSButton> expires_ = NSButton::checkboxWithTitle("Link expires after");
    std::shared_ptr<NSTextField> days_ = std::make_shared<NSTextField>();
    std::shared_ptr<NSPopUpButton> role_ = std::make_shared<NSPopUpButton>();
    std::shared_ptr<NSTextField> label_ = NSTextField::labelWithString("");
    bool working_ = false;
    std::vector<std::string> actions_;
    std::map<std::string, std::function<void()>> onAction_;
    std::optional<JsonFrontEnd> frontEnd_;
};

std::string withId(const NSView& view, std::string instruction) {
    return instruction.replace(instruction.find('#'), 1, std::to_string(view.id()));
}

TEST_F(JsonFrontEndTest, CarriesOutOneInstructionAfterTheOtherAndTellsWhatHappensInOrder) {
    onAction_["submitLink:"] = [&] {
        root_.removeAllSubviews();
        add({label_});
        working_ = true;
        timer_ = loop_.startTimer(std::chrono::milliseconds(1), [&] {
            frontEnd_->setString("https://example/1", NSPasteboardTypeString);
            label_->setStringValue("Link copied to the clipboard:\nhttps://example/1");
            working_ = false;
        });
    };
    days_->becomeFirstResponder();

    auto events = run({
        "",
        " \r",
        withId(*days_, R"({"do":"type","id":#.0,"text":" 7\n"})") + "\r",
        R"({"do":"click","title":"Link expires after"})",
        withId(*role_, R"({"do":"select","id":#,"index":1})"),
        R"({"do":"wait","title":"Create Link","seconds":1000})",
        R"({"do":"key","key":"\r"})",
        R"({"do":"wait","text":"Link copied"})",
    });

    // The form, typed into, toggled, selected, replaced; then the copied link, and the end of input closes the window.
    EXPECT_THAT(names(events),
                ElementsAre("sheet", "sheet", "sheet", "sheet", "sheet", "clipboard", "sheet", "completed"));
    EXPECT_EQ(days_->stringValue(), " 7\n");
    EXPECT_EQ(events[1].at("view").at_pointer("/subviews/2/focused"), true);
    EXPECT_TRUE(expires_->isOn());
    EXPECT_EQ(role_->indexOfSelectedItem(), 1);
    EXPECT_THAT(actions_, ElementsAre("expiryToggled:", "submitLink:"));
    EXPECT_EQ(text(events[5], "text"), "https://example/1");
}

TEST_F(JsonFrontEndTest, RefusesWithAReasonAndChangesNothing) {
    auto hidden = NSButton::buttonWithTitle("Done", target_, "closeSheet:");
    auto holder = std::make_shared<NSView>();
    holder->setHidden(true);
    holder->addSubview(hidden);
    add({holder});
    role_->setEnabled(false);
    const std::pair<std::string, std::string> cases[] = {
        {"[1]", "not a JSON object"},
        {"{\"do\":\"click\",\"title\":\"\xFF\"}", "not a JSON object"},
        {std::string(2 * sheet::longestLine, ' ') + "{}", "longer than 1 MiB"},
        {R"({"do":"dance"})", "“do” must be"},
        {R"({"do":"close","now":true})", "takes no “now”"},
        {R"({"do":"click","title":"Create Link","id":1})", "either “title” or “id”"},
        {R"({"do":"click","title":"Nobody"})", "no button “Nobody”"},
        {R"({"do":"click","title":"Done"})", "hidden or disabled"},
        {withId(*label_, R"({"do":"click","id":#})"), "no button"},
        {R"({"do":"click","id":-1})", "no view -1"},
        {R"({"do":"click","id":18446744073709551617})", "“id” must be a whole number"},
        {withId(*label_, R"({"do":"type","id":#,"text":"x"})"), "no text field"},
        {withId(*days_, R"({"do":"type","id":#})"), "needs “text”"},
        {withId(*role_, R"({"do":"select","id":#,"index":1})"), "hidden or disabled"},
        {R"({"do":"key","key":""})", "no button with this key"},
        {R"({"do":"wait","text":"x","seconds":1e999})", "“seconds” must be"},
        {R"({"do":"wait","title":"Done","seconds":0.001})", "button “Done” has not come in time"},
        {R"({"do":"wait","text":"never"})", "label with “never” cannot come any more"},
    };
    std::vector<std::string> instructions;
    for (auto& [instruction, reason] : cases) instructions.push_back(instruction);

    auto events = run(instructions);

    ASSERT_EQ(events.size(), std::size(cases) + 2);
    EXPECT_EQ(text(events.front(), "event"), "sheet");
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(text(events[i + 1], "event"), "refused");
        EXPECT_THAT(text(events[i + 1], "message"), HasSubstr(cases[i].second));
    }
    EXPECT_EQ(text(events.back(), "event"), "completed");
    EXPECT_TRUE(actions_.empty());
}

TEST_F(JsonFrontEndTest, PressesTheFirstFromTheTopThatAUserCouldPress) {
    std::vector<std::shared_ptr<NSButton>> buttons;
    for (int i = 0; i < 4; ++i) {
        buttons.push_back(NSButton::buttonWithTitle("Leave", target_, std::to_string(i)));
        onAction_[std::to_string(i)] = [&buttons, i] { buttons[i]->setEnabled(false); };
    }
    auto rows = NSStackView::stackWithViews(NSUserInterfaceLayoutOrientation::vertical, {buttons[0], buttons[1]});
    rows->setFrame({20, 48, 420, 100});
    buttons[2]->setFrame({252, 10, 96, 28});
    buttons[3]->setFrame({356, 10, 84, 28});
    add({buttons[3], buttons[2], rows});

    run(std::vector<std::string>(4, R"({"do":"click","title":"Leave"})"));

    EXPECT_THAT(actions_, ElementsAre("0", "1", "2", "3"));
}

TEST_F(JsonFrontEndTest, ARequestThatEndsAtOnceWritesOneSheetReadsNothingAndFallsSilent) {
    FileDescriptor input = fileWith("{}\n");
    frontEnd_.emplace(writing_.number(), input.number());
    frontEnd_->attach(*this, loop_);
    end(NSError{"FPUIErrorDomain", 1, ""});
    loop_.run();
    frontEnd_->beep();
    frontEnd_->setString("late", NSPasteboardTypeString);
    EXPECT_FALSE(frontEnd_->openURL("https://example/late"));
    frontEnd_->logSink()->write(OSLogType::error, "system", "actions", "still \x80 written");

    auto events = this->events();

    EXPECT_THAT(names(events), ElementsAre("sheet", "cancelled", "log"));
    EXPECT_EQ(text(events[1], "domain"), "FPUIErrorDomain");
    EXPECT_EQ(events[1].at("code"), 1);
    EXPECT_THAT(text(events[1], "message"), HasSubstr("FPUIErrorDomain error 1"));
    EXPECT_EQ(text(events[2], "message"), "still \uFFFD written");
    EXPECT_EQ(readToEnd(input.number()), "{}\n");
}

TEST_F(JsonFrontEndTest, AReaderThatStartsLateGetsEveryLineOfEveryThread) {
    constexpr int each = 2000;
    std::vector<std::thread> threads;
    // Far more than a pipe holds, and nobody reads yet.
    loop_.async([&] {
        for (int thread = 0; thread < 2; ++thread)
            threads.emplace_back([this] {
                for (int i = 0; i < each; ++i)
                    frontEnd_->logSink()->write(OSLogType::info, "system", "actions", std::to_string(i));
            });
    });
    runLoop(writing_, fileWith("{\"do\":\"key\",\"key\":\"\\u001b\"}\nignored\n"));
    for (auto& thread : threads) thread.join();

    auto all = names(events());
    EXPECT_EQ(std::erase(all, "log"), 2u * each);
    EXPECT_THAT(all, ElementsAre("sheet", "completed"));
}

TEST_F(JsonFrontEndTest, NeitherOutputThatFailsNorInputThatIsNoneStopsARequest) {
    FileDescriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC)), folder(open("/", O_RDONLY | O_CLOEXEC));
    FileDescriptor closed(1000);
    reading_ = FileDescriptor();
    for (auto* output : {&writing_, &full, &closed})
        runLoop(*output, fileWith(R"({"do":"click","title":"Create Link"})"));
    EXPECT_EQ(actions_.size(), 3u);
    // Each of these ends at once, which closes the window.
    for (auto* input : {&folder, &closed}) runLoop(full, *input);
}

TEST_F(JsonFrontEndTest, WithoutAnInputItWaitsForTheResultBeforeItCloses) {
    working_ = true;
    timer_ = loop_.startTimer(std::chrono::milliseconds(20), [this] {
        label_->setStringValue("Wait a moment…");
        working_ = false;
    });
    runLoop(writing_, FileDescriptor(JsonFrontEnd::noInput));
    EXPECT_EQ(label_->stringValue(), "Wait a moment…");
}

TEST_F(JsonFrontEndTest, AWaitThatHasEndedInTimeRefusesNothingLater) {
    working_ = true;
    auto late = [this] {
        label_->setStringValue("late");
        working_ = false;
    };
    timer_ = loop_.startTimer(std::chrono::milliseconds(5), [this, late] {
        label_->setStringValue("early");
        timer_ = loop_.startTimer(std::chrono::milliseconds(400), late);
    });
    auto events = run({R"({"do":"wait","text":"early","seconds":0.3})", R"({"do":"wait","text":"late"})"});
    EXPECT_THAT(names(events), ElementsAre("sheet", "sheet", "sheet", "completed"));
}

TEST_F(JsonFrontEndTest, ReadsNoFurtherAheadThanItNeedsToWhileItWaits) {
    std::string script = "{\"do\":\"wait\",\"text\":\"never\"}\n";
    while (script.size() < 1024 * 1024) script += "{\"do\":\"click\",\"title\":\"Create Link\"}\n";
    FileDescriptor input = fileWith(script);
    timer_ = loop_.startTimer(std::chrono::milliseconds(20), [this] { end({}); });
    runLoop(writing_, input);
    EXPECT_LT(lseek(input.number(), 0, SEEK_CUR), 200 * 1024);
    EXPECT_TRUE(actions_.empty());
}

}  // namespace
}  // namespace tobrel
