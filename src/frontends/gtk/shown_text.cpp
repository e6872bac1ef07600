#include "frontends/gtk/shown_text.h"

#include <string_view>
#include <utility>

#include "text/harmless_text.h"

namespace tobrel::gtk {

namespace {

template <class Use>
void eachLine(std::string_view text, const Use& use) {
    for (std::size_t start = 0;;) {
        std::size_t end = text.find('\n', start);
        use(text.substr(start, end == text.npos ? end : end - start));
        if (end == text.npos) return;
        start = end + 1;
    }
}

void add(std::string& sentence, const std::string& words) {
    if (words.empty()) return;
    if (!sentence.empty()) sentence += ' ';
    sentence += words;
}

// The words of the row that only name or explain its controls.
std::string wordsAround(const sheet::Piece& control, const sheet::Row& row) {
    std::string words;
    for (auto& piece : row.pieces) {
        if (&piece.view() == &control.view()) continue;
        if (piece.label) add(words, shownText(piece.label->stringValue()));
        if (piece.checkBox) add(words, shownText(piece.checkBox->title()));
    }
    return words;
}

}  // namespace

std::string shownText(const std::string& text) {
    std::string shown;
    bool first = true;
    eachLine(text, [&](std::string_view line) {
        if (!std::exchange(first, false)) shown += '\n';
        shown += harmless(line);
    });
    return shown;
}

bool holdsAddress(const std::string& text) {
    bool holds = false;
    eachLine(text, [&](std::string_view line) {
        holds |= (line.starts_with("https://") || line.starts_with("http://")) && line.find(' ') == line.npos;
    });
    return holds;
}

ControlName nameOf(const sheet::Piece& control, const sheet::Row& row) {
    std::string around = wordsAround(control, row);
    if (control.button) return {shownText(control.button->title()), around};
    if (control.checkBox) return {shownText(control.checkBox->title()), ""};
    if (!around.empty()) return {around, ""};
    return {control.field ? shownText(control.field->placeholderString()) : "", ""};
}

}  // namespace tobrel::gtk
