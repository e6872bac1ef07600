#include "frontends/terminal/line_mode.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "frontends/sheet/user.h"
#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/line_text.h"
#include "frontends/terminal/output.h"
#include "frontends/terminal/raw_terminal.h"
#include "frontends/terminal/text_width.h"
#include "platform/front_end.h"
#include "platform/main_loop.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

// Longer input without a line break is taken as a line, so that memory stays bounded.
constexpr std::size_t longestLine = 1 << 20;

std::vector<std::uint64_t> identitiesOf(const Rows& rows) {
    std::vector<std::uint64_t> identities;
    for (auto& control : controlsOf(rows)) identities.push_back(control.view().id());
    return identities;
}

}  // namespace

LineMode::LineMode(const Terminal& terminal)
    : terminal_(terminal),
      columns_(isatty(terminal.output) ? sizeOfTerminal(terminal.output).columns : unlimitedColumns) {}

LineMode::~LineMode() {
    watch(false);
}

void LineMode::appear() {
    appeared_ = true;
    inputEnded_ = terminal_.input < 0;
}

void LineMode::mainQueueRanDry(bool changed) {
    if (!appeared_ || closed_) return;
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    bool waiting = terminal_.sheet.isWorking();
    // Without a change of the sheet there may still be news of the clipboard.
    bool printed = (changed || shown_.empty() || !terminal_.clipboard.note().text.empty()) && show(rows, waiting);
    if (waiting) {
        silent_ = refused_ = false;
        return watch(false);
    }
    if (std::exchange(silent_, false) && !printed) answerSilence(rows);
    refused_ = false;
    takeLine();
}

// What the sheet says; once it can be answered, its numbered controls, too. The same sheet again: only what is new.
bool LineMode::show(const Rows& rows, bool waiting) {
    auto& note = terminal_.clipboard.note();
    if (showNoteAlone(rows, note)) return true;
    shownMessage_ = messageLines(rows, columns_, note);
    auto controls = identitiesOf(rows);
    bool pressed = waiting && controls == shownControls_;
    auto lines = waiting && !pressed ? shownMessage_ : numberedLines(rows, columns_, note);
    if (waiting && !pressed) controls.clear();

    std::vector<std::string> news;
    bool sameSheet = !controls.empty() && controls == shownControls_ && lines.size() == shown_.size();
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (!sameSheet || lines[i] != shown_[i]) news.push_back(lines[i]);
    bool isNew = lines != shown_ && !news.empty();
    if (isNew && !sameSheet && !shown_.empty()) news.insert(news.begin(), "");
    if (isNew) print(news);
    shown_ = std::move(lines);
    shownControls_ = std::move(controls);
    shownNote_ = note;
    return isNew;
}

// The clipboard may answer when its message has already been printed.
bool LineMode::showNoteAlone(const Rows& rows, const Note& note) {
    bool isNews = note.about == shownNote_.about && note.text != shownNote_.text;
    if (!isNews || shown_.empty() || shown_ != numberedLines(rows, columns_, shownNote_)) return false;
    print(fitted(note.text, columns_, 0));
    shownNote_ = note;
    shown_ = numberedLines(rows, columns_, note);
    shownMessage_ = messageLines(rows, columns_, note);
    return true;
}

void LineMode::answerSilence(const Rows& rows) {
    auto focus = indexOf(terminal_.sheet.rootView().firstResponder(), controlsOf(rows));
    std::string place = focus ? "; please check [" + std::to_string(*focus + 1) + "]" : "";
    print({(refused_ ? "That was not accepted" : "Nothing has changed") + place + "."});
}

void LineMode::takeLine() {
    std::size_t end = unread_.find('\n');
    bool lastLine = end == std::string::npos && (inputEnded_ || unread_.size() > longestLine) && !unread_.empty();
    if (end == std::string::npos && !lastLine) {
        if (!inputEnded_) return watch(true);
        closed_ = true;
        return terminal_.sheet.close();
    }
    watch(false);
    std::string line = unread_.substr(0, end);
    unread_.erase(0, lastLine ? end : end + 1);
    if (line.ends_with('\r')) line.pop_back();
    terminal_.loop.async([this, line] { perform(line); });
}

void LineMode::watch(bool wanted) {
    if (wanted && isatty(terminal_.input)) prompt();
    if (wanted == watching_) return;
    watching_ = wanted;
    if (wanted)
        terminal_.loop.watchInput(terminal_.input, [this] { readInput(); });
    else
        terminal_.loop.unwatchInput(terminal_.input);
}

void LineMode::prompt() {
    if (prompted_) return;
    if (!std::exchange(helped_, true)) {
        auto help = fitted(lineHelp, columns_, 0);
        help.insert(help.begin(), "");
        print(help);
    }
    writeAll(terminal_.output, "> ");
    prompted_ = true;
}

void LineMode::readInput() {
    bool wasPrompted = std::exchange(prompted_, false);
    char bytes[4096];
    ssize_t count = read(terminal_.input, bytes, sizeof bytes);
    if (count > 0)
        unread_.append(bytes, static_cast<std::size_t>(count));
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
        inputEnded_ = true;
    // Nobody has ended the prompt's line then.
    if (inputEnded_ && wasPrompted) print({""});
}

void LineMode::perform(const std::string& line) {
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    Instruction instruction = instructionOf(line, rows);
    if (!instruction.control) return print({instruction.refusal});
    auto control = controlsOf(rows)[*instruction.control];
    if (instruction.item)
        control.popUp->selectItemAtIndex(*instruction.item);
    else if (instruction.text)
        control.field->setStringValue(*instruction.text);
    else {
        silent_ = true;
        sheet::press(control.button ? *control.button : *control.checkBox);
    }
}

void LineMode::requestEnded(End end, const std::optional<std::string>& unopened) {
    watch(false);
    if (end == End::cancelled) return;
    if (unopened) return print({noBrowser, harmless(*unopened)});
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    showNoteAlone(rows, terminal_.clipboard.note());
    auto message = messageLines(rows, columns_, terminal_.clipboard.note());
    if (message != shownMessage_) print(message);
}

void LineMode::print(const std::vector<std::string>& lines) {
    std::string bytes = std::exchange(prompted_, false) ? "\n" : "";
    for (auto& line : lines) bytes += line + "\n";
    writeAll(terminal_.output, bytes);
}

}  // namespace tobrel::terminal
