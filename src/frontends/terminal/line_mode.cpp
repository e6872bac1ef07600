#include "frontends/terminal/line_mode.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/line_text.h"
#include "frontends/terminal/raw_terminal.h"
#include "frontends/terminal/text_width.h"
#include "platform/front_end.h"
#include "platform/main_loop.h"

namespace tobrel::terminal {

namespace {

std::vector<std::uint64_t> identitiesOf(const Rows& rows) {
    std::vector<std::uint64_t> identities;
    for (auto& control : controlsOf(rows)) identities.push_back(control.view().id());
    return identities;
}

bool isMessage(const Rows& rows) {
    return std::all_of(rows.begin(), rows.end(),
                       [](auto& row) { return row.footer || sheet::controlsOf({row}).empty(); });
}

// What is in the new lines and not in the old ones: of the same sheet the lines that differ, of a message that goes on
// its rest.
std::vector<std::string> newsIn(const std::vector<std::string>& lines, const std::vector<std::string>& old,
                                bool isSameSheet, bool wasMessage) {
    std::vector<std::string> news;
    if (isSameSheet && lines.size() == old.size()) {
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (lines[i] != old[i]) news.push_back(lines[i]);
        return news;
    }
    bool goesOn = wasMessage && lines.size() >= old.size() && std::equal(old.begin(), old.end(), lines.begin());
    if (goesOn) return {lines.begin() + static_cast<std::ptrdiff_t>(old.size()), lines.end()};
    news = lines;
    if (!lines.empty() && !old.empty()) news.insert(news.begin(), "");
    return news;
}

}  // namespace

std::optional<std::string> LineInput::take() {
    std::size_t end = unread_.find('\n');
    // Longer input without a line break is taken as a line.
    bool isLast = end == std::string::npos && (ended_ || unread_.size() > sheet::longestLine) && !unread_.empty();
    if (end == std::string::npos && !isLast) return std::nullopt;
    std::string line = unread_.substr(0, end);
    unread_.erase(0, isLast ? end : end + 1);
    if (line.ends_with('\r')) line.pop_back();
    return line;
}

void LineInput::watch(std::function<void()> news) {
    if (ended_ || std::exchange(watching_, true)) return;
    loop_.watchInput(descriptor_, [this, news = std::move(news)] {
        readMore();
        news();
    });
}

void LineInput::unwatch() {
    if (std::exchange(watching_, false)) loop_.unwatchInput(descriptor_);
}

void LineInput::readMore() {
    char bytes[4096];
    ssize_t count = read(descriptor_, bytes, sizeof bytes);
    if (count > 0)
        unread_.append(bytes, static_cast<std::size_t>(count));
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
        ended_ = true;
}

LineMode::LineMode(const Terminal& terminal)
    : terminal_(terminal),
      columns_(isatty(terminal.output) ? sizeOfTerminal(terminal.output).columns : unlimitedColumns),
      input_(terminal.input, terminal.loop) {}

void LineMode::appear() {
    state_ = State::shown;
}

void LineMode::mainQueueRanDry(bool) {
    if (state_ != State::shown) return;
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    bool working = terminal_.sheet.isWorking();
    changes_.look(rows);
    attempt_.ranDry(rows, working);
    bool printed = show(rows, working);
    if (working) return input_.unwatch();
    if (!printed) answer(rows);
    attempt_.forget();
    takeLine();
}

// What the sheet says; once it can be answered, its numbered controls, too. Of what has been printed only what is new.
bool LineMode::show(const Rows& rows, bool working) {
    auto& note = terminal_.clipboard.note();
    Printed now{{}, identitiesOf(rows)};
    bool isSameSheet = !now.controls.empty() && now.controls == printed_.controls;
    if (working && !isSameSheet) {
        if (!isMessage(rows)) return false;
        now = {messageLines(rows, columns_, note), {}};
    } else {
        now.lines = numberedLines(rows, columns_, note, sheet::buttonForReturn(rows, nullptr, changes_));
    }
    auto news = newsIn(now.lines, printed_.lines, isSameSheet, printed_.controls.empty());
    printed_ = std::move(now);
    if (!news.empty()) print(news);
    return !news.empty();
}

void LineMode::answer(const Rows& rows) {
    if (attempt_.outcome() == sheet::Attempt::Outcome::none) return;
    bool refused = attempt_.outcome() == sheet::Attempt::Outcome::refused;
    auto focus = indexOf(terminal_.sheet.rootView().firstResponder(), controlsOf(rows));
    std::string place = focus ? "; please check [" + std::to_string(*focus + 1) + "]" : "";
    print({(refused ? "That was not accepted" : "Nothing has changed") + place + "."});
}

void LineMode::takeLine() {
    if (auto line = input_.take()) {
        input_.unwatch();
        terminal_.loop.async([this, line = std::move(*line)] { perform(line); });
    } else if (input_.hasEnded()) {
        state_ = State::closed;
        terminal_.sheet.close();
    } else {
        prompt();
        input_.watch([this] {
            bool wasAsked = prompt_ == Prompt::standing;
            if (wasAsked) prompt_ = Prompt::none;
            // Nobody has ended the prompt's line then.
            if (wasAsked && input_.hasEnded()) print({""});
        });
    }
}

void LineMode::prompt() {
    if (prompt_ == Prompt::standing || !isatty(terminal_.input)) return;
    if (prompt_ == Prompt::neverShown) {
        auto help = fitted(lineHelp, columns_, 0);
        help.insert(help.begin(), "");
        print(help);
    }
    showOn(terminal_.output, "> ");
    prompt_ = Prompt::standing;
}

void LineMode::perform(const std::string& line) {
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    Instruction instruction = instructionOf(line, rows, sheet::buttonForReturn(rows, nullptr, changes_));
    if (!instruction.control) return print({instruction.refusal});
    auto control = controlsOf(rows)[*instruction.control];
    attempt_.begin(rows, control.button);
    if (instruction.item)
        control.popUp->selectItemAtIndex(*instruction.item);
    else if (instruction.text)
        control.field->setStringValue(*instruction.text);
    else
        sheet::press(control.button ? *control.button : *control.checkBox);
}

void LineMode::requestEnded(End end, const std::optional<std::string>& unopened, bool changed) {
    input_.unwatch();
    if (end == End::cancelled) return;
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    Ending ending = endingOf(terminal_, rows, columns_, attempt_.unanswered().sentence(), unopened);
    bool isNews = changed || ending.isRemark;
    if (isNews && !ending.lines.empty()) print(ending.lines);
    writeResult(terminal_, ending);
}

void LineMode::print(const std::vector<std::string>& lines) {
    std::string bytes = prompt_ == Prompt::standing ? "\n" : "";
    if (prompt_ == Prompt::standing) prompt_ = Prompt::none;
    for (auto& line : lines) bytes += line + "\n";
    showOn(terminal_.output, bytes);
}

}  // namespace tobrel::terminal
