#include "frontends/terminal/screen_mode.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include "frontends/sheet/user.h"
#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/hint.h"
#include "platform/front_end.h"
#include "platform/main_loop.h"

namespace tobrel::terminal {

namespace {

// Within this time the rest of a key's sequence follows, over slow lines as well.
constexpr std::chrono::milliseconds sequenceTime{60};

std::string cursorMove(int count, char direction) {
    std::string sequence;
    if (count > 0) sequence.append("\x1B[").append(std::to_string(count)).append(1, direction);
    return sequence;
}

// Which keys do something while the request works: none that could press a button or change a value.
bool worksMeanwhile(Key key) {
    constexpr Key keys[] = {Key::escape, Key::close, Key::suspend, Key::redraw, Key::pageUp, Key::pageDown};
    return std::find(std::begin(keys), std::end(keys), key) != std::end(keys);
}

bool isInFooter(const Rows& rows, const NSView* view) {
    if (rows.empty() || !rows.back().footer) return false;
    return indexOf(view, rows.back().pieces).has_value();
}

}  // namespace

ScreenMode::~ScreenMode() {
    if (!raw_) return;
    terminal_.loop.unwatchInput(terminal_.input);
    terminal_.loop.unwatchInput(raw_->eventDescriptor());
}

void ScreenMode::appear() {
    raw_ = std::make_unique<RawTerminal>(terminal_.input, terminal_.output);
    terminal_.loop.watchInput(terminal_.input, [this] { readKeys(); });
    terminal_.loop.watchInput(raw_->eventDescriptor(), [this] { takeEvents(); });
}

void ScreenMode::mainQueueRanDry(bool changed) {
    if (!raw_) return;
    bool working = terminal_.sheet.isWorking();
    dirty_ |= changed || working != (second_ != nullptr) || attempt_.isOpen();
    if (std::exchange(dirty_, false)) {
        takeNote(sheet::rowsOf(terminal_.sheet.rootView()), working);
        draw();
    }
    // One key's doing is on the screen before the next one counts.
    if (!keys_.empty()) terminal_.loop.async([this] { handleKeys(); });
}

void ScreenMode::readKeys() {
    char bytes[4096];
    ssize_t count = read(terminal_.input, bytes, sizeof bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count <= 0) {
        terminal_.loop.unwatchInput(terminal_.input);
        return close();
    }
    for (auto& press : reader_.take({bytes, static_cast<std::size_t>(count)})) keys_.push_back(std::move(press));
    expectMoreKeys();
}

void ScreenMode::expectMoreKeys() {
    restOfSequence_.reset();
    if (!reader_.isUnfinished()) return;
    restOfSequence_ = terminal_.loop.startTimer(sequenceTime, [this] {
        for (auto& press : reader_.finish()) keys_.push_back(std::move(press));
    });
}

void ScreenMode::takeEvents() {
    auto events = raw_->takeEvents();
    if (events.stopping) suspend();
    if (events.continued) raw_->enter();
    dirty_ = true;
}

void ScreenMode::close() {
    keys_.clear();
    terminal_.sheet.close();
}

void ScreenMode::handleKeys() {
    while (!keys_.empty()) {
        KeyPress press = std::move(keys_.front());
        keys_.pop_front();
        handle(press);
    }
}

void ScreenMode::handle(const KeyPress& press) {
    dirty_ = true;
    attempt_.forget();
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    settleFocus(rows);
    auto controls = controlsOf(rows);
    const Piece* focus = focusIndex_ ? &controls[*focusIndex_] : nullptr;
    if (isWorking() && !worksMeanwhile(press.key)) return;
    if (focus && focus->field && editField(*focus->field, press)) return;
    if (focus && focus->popUp && changePopUp(*focus->popUp, press)) return;
    switch (press.key) {
        case Key::escape:
        case Key::close:
            return close();
        case Key::suspend:
            return suspend();
        case Key::redraw:
            isGarbled_ = true;
            return;
        case Key::enter:
            if (NSButton* button = sheet::buttonForReturn(rows, focus ? &focus->view() : nullptr, changes_))
                this->press(*button, rows);
            return;
        case Key::tab:
        case Key::down:
        case Key::right:
            return moveFocus(controls, 1);
        case Key::backTab:
        case Key::up:
        case Key::left:
            return moveFocus(controls, -1);
        case Key::pageDown:
            return page(controls, 1);
        case Key::pageUp:
            return page(controls, -1);
        case Key::home:
            scroll_ = 0;
            if (!controls.empty()) controls.front().view().becomeFirstResponder();
            return;
        case Key::end:
            return goToEnd(rows, controls);
        case Key::text:
            if (press.text != " " || !focus) return;
            if (focus->checkBox) sheet::press(*focus->checkBox);
            if (focus->button) this->press(*focus->button, rows);
            return;
        default:
            return;
    }
}

bool ScreenMode::editField(NSTextField& field, const KeyPress& press) {
    if (!field.isEnabled() || !edit(edit_, press)) return false;
    field.setStringValue(edit_.text);
    return true;
}

bool ScreenMode::changePopUp(NSPopUpButton& popUp, const KeyPress& press) {
    int count = static_cast<int>(popUp.itemTitles().size());
    if (!popUp.isEnabled() || count == 0) return false;
    int selected = popUp.indexOfSelectedItem();
    if (press.key == Key::up || press.key == Key::left)
        selected = std::max(selected - 1, 0);
    else if (press.key == Key::down || press.key == Key::right)
        selected = std::min(selected + 1, count - 1);
    else if (press == KeyPress{Key::text, " "})
        selected = (selected + 1) % count;
    else
        return false;
    popUp.selectItemAtIndex(selected);
    return true;
}

void ScreenMode::press(NSButton& button, const Rows& rows) {
    // What was typed ahead was meant for the sheet as it was.
    keys_.clear();
    attempt_.begin(rows, &button);
    sheet::press(button);
}

void ScreenMode::suspend() {
    showOn(terminal_.output, erasing());
    frame_ = {};
    raw_->stopJob();
}

void ScreenMode::settleFocus(const Rows& rows) {
    auto& root = terminal_.sheet.rootView();
    auto controls = controlsOf(rows);
    auto index = indexOf(root.firstResponder(), controls);
    if (!index) {
        resumeIndex_ = bodyFocus_;
        if (NSView* choice = sheet::firstFocus(rows)) choice->becomeFirstResponder();
        index = indexOf(root.firstResponder(), controls);
    } else if (index != focusIndex_) {
        resumeIndex_.reset();
    }
    focusIndex_ = index;
    bodyFocus_ = index && !isInFooter(rows, root.firstResponder()) ? index : std::nullopt;
    NSTextField* field = index ? controls[*index].field : nullptr;
    if (!field) {
        editedField_ = 0;
    } else if (editedField_ != field->id()) {
        editedField_ = field->id();
        edit_ = entered(field->stringValue());
    } else if (edit_.text != field->stringValue()) {
        edit_ = {field->stringValue(), field->stringValue().size()};
    }
}

void ScreenMode::moveFocus(const std::vector<Piece>& controls, int direction) {
    int count = static_cast<int>(controls.size());
    if (count == 0) return;
    int index = static_cast<int>(focusIndex_.value_or(0));
    if (auto resume = std::exchange(resumeIndex_, std::nullopt))
        index = static_cast<int>(*resume) - (direction > 0 ? 1 : 0);
    for (int steps = 0; steps < count; ++steps) {
        index = ((index + direction) % count + count) % count;
        if (!controls[static_cast<std::size_t>(index)].isEnabled()) continue;
        return controls[static_cast<std::size_t>(index)].view().becomeFirstResponder();
    }
}

void ScreenMode::page(const std::vector<Piece>& controls, int direction) {
    std::size_t height = frame_.bodyLines;
    scroll_ = direction > 0 ? std::min(scroll_ + height, frame_.mostScroll) : scroll_ - std::min(scroll_, height);
    for (std::size_t i = 0; i < controls.size() && i < controlLines_.size(); ++i) {
        bool visible = controlLines_[i] >= scroll_ && controlLines_[i] < scroll_ + height;
        if (visible && controls[i].isEnabled()) return controls[i].view().becomeFirstResponder();
    }
}

// The end of the list, where there is one, not of the sheet's own buttons below it.
void ScreenMode::goToEnd(const Rows& rows, const std::vector<Piece>& controls) {
    scroll_ = frame_.mostScroll;
    for (auto control = controls.rbegin(); control != controls.rend(); ++control)
        if (control->isEnabled() && !isInFooter(rows, &control->view())) return control->view().becomeFirstResponder();
    if (!controls.empty()) controls.back().view().becomeFirstResponder();
}

// What the user's doing has led to, and whether the request works.
void ScreenMode::takeNote(const Rows& rows, bool working) {
    changes_.look(rows);
    attempt_.ranDry(rows, working);
    if (working == isWorking()) return;
    secondsOfWork_ = -1;
    second_.reset();
    if (working) countSeconds();
}

void ScreenMode::countSeconds() {
    ++secondsOfWork_;
    dirty_ = true;
    second_ = terminal_.loop.startTimer(std::chrono::seconds(1), [this] { countSeconds(); });
}

void ScreenMode::draw() {
    Rows rows = sheet::rowsOf(terminal_.sheet.rootView());
    settleFocus(rows);
    TerminalSize size = sizeOfTerminal(terminal_.output);
    LayoutInput input;
    input.columns = size.columns;
    input.styling = terminal_.environment.noColor ? Styling::plain : Styling::styled;
    input.focus = focusIndex_ && !isWorking() ? terminal_.sheet.rootView().firstResponder() : nullptr;
    input.entered = isWorking() ? nullptr : sheet::buttonForReturn(rows, input.focus, changes_);
    input.edit = edit_;
    input.note = terminal_.clipboard.note();
    SheetLines lines = layOut(rows, input);
    HintInput hint{rows, input.focus, input.entered, attempt_.outcome(), scrolls(lines, size), std::nullopt};
    if (isWorking()) hint.secondsOfWork = secondsOfWork_;
    Frame frame = compose(lines, hintFor(hint, size.columns - 3), size, scroll_);
    scroll_ = frame.scroll;
    controlLines_ = std::move(lines.controlLines);
    if (frame == frame_ && size == size_ && !isGarbled_) return;

    noteSize(size);
    // One batch between the marks of a synchronized update, so that nothing flickers.
    std::string bytes = "\x1B[?2026h\x1B[?25l" + erasing();
    isGarbled_ = false;
    frame_ = std::move(frame);
    bytes += encoded(frame_.lines, input.styling);
    if (frame_.cursor) {
        bytes += "\r";
        bytes += cursorMove(static_cast<int>(frame_.lines.size() - 1 - frame_.cursor->line), 'A');
        bytes += cursorMove(frame_.cursor->column, 'C') + "\x1B[?25h";
    }
    showOn(terminal_.output, bytes + "\x1B[?2026l");
}

// A terminal that was made too small for what stood on it gives the rest back when it grows again.
void ScreenMode::noteSize(const TerminalSize& size) {
    lostLines_ |= rowsTaken(frame_, size.columns) > size.rows;
    bool grew = size.columns > size_.columns || size.rows > size_.rows;
    isGarbled_ |= lostLines_ && grew;
    size_ = size;
}

// Takes what was drawn off the screen, the cursor standing where the first line began.
std::string ScreenMode::erasing() const {
    if (isGarbled_) return "\x1B[H\x1B[2J";
    if (frame_.lines.empty()) return "";
    std::string bytes = "\r";
    bytes += cursorMove(rowsAbove(frame_, sizeOfTerminal(terminal_.output).columns), 'A');
    return bytes + "\x1B[J";
}

void ScreenMode::requestEnded(End end, const std::optional<std::string>& unopened, bool) {
    if (!raw_) return;
    TerminalSize size = sizeOfTerminal(terminal_.output);
    Ending ending;
    if (end == End::completed)
        ending = endingOf(terminal_, sheet::rowsOf(terminal_.sheet.rootView()), size.columns - 1,
                          attempt_.unanswered().sentence(), unopened);
    auto& message = ending.lines;
    auto most = static_cast<std::size_t>(std::max(size.rows - 2, 1));
    if (message.size() > most) {
        std::string more = "… and " + std::to_string(message.size() - most) + " more lines";
        message.resize(most);
        message.push_back(more);
    }
    std::string bytes = erasing() + "\x1B[?25h";
    for (auto& line : message) bytes += line + "\r\n";
    showOn(terminal_.output, bytes);
    frame_ = {};
    writeResult(terminal_, ending);
}

}  // namespace tobrel::terminal
