#include "frontends/terminal/hint.h"

#include <algorithm>

#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

// In one line that fits. The most important comes first: what does not fit is left out, the first is shortened.
class Parts {
public:
    explicit Parts(int columns) : columns_(std::max(columns, 1)) {}

    void add(const std::string& part) {
        if (line_.empty()) {
            line_ = fitted(part, columns_, 1).front();
            return;
        }
        std::string longer = line_ + " · " + part;
        if (columnsOf(longer) <= columns_) line_ = longer;
    }
    std::string take() { return std::move(line_); }

private:
    const int columns_;
    std::string line_;
};

std::string refusal(const sheet::Piece* focused) {
    if (!focused || !focused->field) return "Nothing has changed.";
    if (focused->field->stringValue().empty()) return "Please fill this in first.";
    return inQuotes(focused->field->stringValue()) + " is not accepted here: please change it.";
}

std::string pressing(const NSButton& button, const sheet::Rows& rows) {
    std::string subject = sheet::subjectOf(button, rows);
    return "Enter " + harmless(button.title()) + (subject.empty() ? "" : ": " + harmless(subject));
}

}  // namespace

std::string hintFor(const HintInput& input, int columns) {
    auto controls = controlsOf(input.rows);
    auto index = indexOf(input.focus, controls);
    const sheet::Piece* focused = index ? &controls[*index] : nullptr;
    using Outcome = sheet::Attempt::Outcome;

    Parts parts(columns);
    if (input.secondsOfWork) {
        if (*input.secondsOfWork > 0) parts.add("Waiting for " + std::to_string(*input.secondsOfWork) + " s");
        parts.add("Esc closes");
        return parts.take();
    }
    if (input.outcome == Outcome::refused || input.outcome == Outcome::withoutEffect) parts.add(refusal(focused));
    if (input.entered && input.entered->isEnabled()) parts.add(pressing(*input.entered, input.rows));
    parts.add("Esc closes");
    if (focused && focused->checkBox) parts.add("Space switches");
    if (focused && focused->popUp) parts.add("↑↓ choose");
    if (input.scrolls) parts.add("PgUp PgDn scroll");
    if (controls.size() > 1) parts.add("Tab moves");
    return parts.take();
}

}  // namespace tobrel::terminal
