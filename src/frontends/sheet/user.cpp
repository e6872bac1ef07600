#include "frontends/sheet/user.h"

#include <memory>
#include <utility>

namespace tobrel::sheet {

namespace {

constexpr const char* closing = "closeSheet:";
constexpr const char* separator = "  ·  ";

template <class Matches>
NSButton* firstButton(const std::vector<Piece>& controls, std::size_t from, const Matches& matches) {
    for (std::size_t i = from; i < controls.size(); ++i)
        if (controls[i].button && controls[i].isEnabled() && matches(*controls[i].button)) return controls[i].button;
    return nullptr;
}

bool isInFooter(const NSButton& button, const Rows& rows) {
    return !rows.empty() && rows.back().footer && indexOf(&button, rows.back().pieces);
}

std::string valueOf(const Piece& piece) {
    if (piece.field) return piece.field->stringValue();
    if (piece.checkBox) return piece.checkBox->isOn() ? "on" : "off";
    return std::to_string(piece.popUp->indexOfSelectedItem());
}

std::vector<Piece> valuesOf(const Rows& rows) {
    std::vector<Piece> values = controlsOf(rows);
    std::erase_if(values, [](const Piece& piece) { return piece.button; });
    return values;
}

// All that the user can see, but for the focus.
std::string contentOf(const Rows& rows) {
    std::string content;
    for (auto& row : rows)
        for (auto& piece : row.pieces) {
            content += std::to_string(piece.view().id()) + (piece.isEnabled() ? "+" : "-");
            if (piece.label)
                content += piece.label->stringValue();
            else if (piece.button)
                content += piece.button->title();
            else
                content += valueOf(piece);
            content += '\0';
        }
    return content;
}

std::shared_ptr<NSView> kept(const NSView& view) {
    if (NSView* parent = view.superview())
        for (auto& each : parent->subviews())
            if (each.get() == &view) return each;
    return nullptr;
}

}  // namespace

NSButton* defaultButton(const Rows& rows) {
    return firstButton(controlsOf(rows), 0, [](auto& button) { return button.keyEquivalent() == "\r"; });
}

NSButton* closingButton(const Rows& rows) {
    return firstButton(controlsOf(rows), 0, [](auto& button) { return button.action() == closing; });
}

NSButton* buttonFor(const NSView& control, const Rows& rows) {
    auto controls = controlsOf(rows);
    auto index = indexOf(&control, controls);
    if (!index) return nullptr;
    return firstButton(controls, *index + 1,
                       [&](auto& button) { return button.action() != closing && isInFooter(button, rows); });
}

void Changes::look(const Rows& rows) {
    std::map<std::uint64_t, std::string> original;
    for (auto& piece : valuesOf(rows)) {
        auto known = original_.find(piece.view().id());
        original[piece.view().id()] = known == original_.end() ? valueOf(piece) : known->second;
    }
    original_ = std::move(original);
}

const NSView* Changes::first(const Rows& rows) const {
    for (auto& piece : valuesOf(rows)) {
        auto known = original_.find(piece.view().id());
        if (known != original_.end() && known->second != valueOf(piece)) return &piece.view();
    }
    return nullptr;
}

NSButton* buttonForReturn(const Rows& rows, const NSView* focus, const Changes& changes) {
    for (auto& control : controlsOf(rows))
        if (control.button && &control.view() == focus) return control.button;
    const NSView* changed = changes.first(rows);
    NSButton* button = changed ? buttonFor(*changed, rows) : nullptr;
    return button ? button : defaultButton(rows);
}

NSView* firstFocus(const Rows& rows) {
    NSButton* button = defaultButton(rows);
    return button ? button : closingButton(rows);
}

bool press(NSButton& button) {
    for (const NSView* view = &button; view; view = view->superview())
        if (view->isHidden()) return false;
    if (!button.isEnabled()) return false;
    auto alive = kept(button);
    button.performClick();
    return true;
}

std::string subjectOf(const NSButton& button, const Rows& rows) {
    for (auto& row : rows) {
        if (row.footer || row.pieces.empty() || !row.pieces.front().label || !indexOf(&button, row.pieces)) continue;
        const std::string& text = row.pieces.front().label->stringValue();
        return text.substr(0, text.find(separator));
    }
    return "";
}

void Unanswered::pressed(const NSButton& button) {
    title_ = button.title();
    hasWorked_ = false;
}

void Unanswered::ranDry(bool working) {
    hasWorked_ |= working;
    if (!working) title_.clear();
}

std::string Unanswered::sentence() const {
    if (title_.empty() || !hasWorked_) return "";
    return "Closed before “" + title_ + "” was answered: it may have been done all the same.";
}

void Attempt::begin(const Rows& rows, const NSButton* button) {
    *this = {};
    open_ = true;
    if (button) unanswered_.pressed(*button);
    before_ = contentOf(rows);
}

void Attempt::ranDry(const Rows& rows, bool working) {
    unanswered_.ranDry(working);
    if (!open_) return;
    hasWorked_ |= working;
    if (working) return;
    open_ = false;
    bool hasEffect = hasWorked_ || contentOf(rows) != before_;
    outcome_ = beeped_ ? Outcome::refused : hasEffect ? Outcome::accepted : Outcome::withoutEffect;
}

}  // namespace tobrel::sheet
