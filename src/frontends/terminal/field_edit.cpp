#include "frontends/terminal/field_edit.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

std::string_view beforeCursor(const FieldEdit& field) {
    return std::string_view(field.text).substr(0, field.cursor);
}

std::string_view afterCursor(const FieldEdit& field) {
    return std::string_view(field.text).substr(field.cursor);
}

void erase(FieldEdit& field, std::size_t first, std::size_t last) {
    field.text.erase(first, last - first);
    field.cursor = first;
}

std::size_t startOfWord(std::string_view text) {
    std::size_t end = text.find_last_not_of(' ');
    if (end == std::string_view::npos) return 0;
    return text.find_last_of(' ', end) + 1;
}

}  // namespace

FieldEdit entered(std::string text) {
    FieldEdit field;
    field.cursor = text.size();
    field.selected = !text.empty();
    field.text = std::move(text);
    return field;
}

bool edit(FieldEdit& field, const KeyPress& press) {
    bool wasSelected = std::exchange(field.selected, false);
    bool replaces = press.key == Key::text || press.key == Key::backspace || press.key == Key::deleteForward ||
                    press.key == Key::deleteWord;
    if (wasSelected && replaces) {
        erase(field, 0, field.text.size());
        if (press.key != Key::text) return true;
    }
    switch (press.key) {
        case Key::text:
            field.text.insert(field.cursor, press.text);
            field.cursor += press.text.size();
            return true;
        case Key::backspace:
            erase(field, field.cursor - lastCharacter(beforeCursor(field)), field.cursor);
            return true;
        case Key::deleteForward:
            erase(field, field.cursor, field.cursor + firstCharacter(afterCursor(field)));
            return true;
        case Key::deleteToStart:
            erase(field, 0, field.cursor);
            return true;
        case Key::deleteWord:
            erase(field, startOfWord(beforeCursor(field)), field.cursor);
            return true;
        case Key::left:
            field.cursor = wasSelected ? 0 : field.cursor - lastCharacter(beforeCursor(field));
            return true;
        case Key::right:
            field.cursor += firstCharacter(afterCursor(field));
            return true;
        case Key::home:
            field.cursor = 0;
            return true;
        case Key::end:
            field.cursor = field.text.size();
            return true;
        default:
            field.selected = wasSelected;
            return false;
    }
}

FieldWindow windowOf(const FieldEdit& field, int columns) {
    std::string before = harmless(beforeCursor(field));
    std::string after = harmless(afterCursor(field));
    std::string_view left = suffixWithin(before, columns - 1);
    int cursorColumn = columnsOf(left);
    std::string shown(left);
    shown += prefixWithin(after, columns - cursorColumn);
    return {padded(std::move(shown), columns), cursorColumn};
}

}  // namespace tobrel::terminal
