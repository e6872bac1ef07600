#include "frontends/terminal/line_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

std::string numberOf(std::size_t control) {
    std::string number = "[";
    return number += std::to_string(control + 1) + "]";
}

std::string itemLine(const NSPopUpButton& popUp, int item) {
    bool selected = item == popUp.indexOfSelectedItem();
    return (selected ? "(*) " : "( ) ") + std::to_string(item + 1) + " " +
           harmless(popUp.itemTitles()[static_cast<std::size_t>(item)]);
}

class Numbering {
public:
    Numbering(int columns, const Note& note, const NSButton* entered)
        : columns_(columns), note_(note), entered_(entered) {}

    void add(const Row& row) {
        if (row.apart && !lines.empty()) lines.emplace_back();
        if (row.pieces.size() == 1 && row.pieces.front().label) return addLabel(*row.pieces.front().label);
        std::string line;
        const NSTextField* used = nullptr;
        for (std::size_t i = 0; i < row.pieces.size(); ++i) {
            const Piece& piece = row.pieces[i];
            if (piece.label == used && used) continue;
            // Buttons stand beside each other and what they are about; everything else has a line of its own.
            if (piece.isControl() && !piece.button && !line.empty()) lines.push_back(std::exchange(line, ""));
            if (!line.empty()) line += "   ";
            if (piece.isControl()) line += numberOf(next_++) + " ";
            if (piece.label) line += lineOf(*piece.label, columns_);
            if (piece.button) line += buttonText(*piece.button);
            if (piece.checkBox) line += (piece.checkBox->isOn() ? "[x] " : "[ ] ") + harmless(piece.checkBox->title());
            if (piece.field) {
                used = i + 1 < row.pieces.size() ? row.pieces[i + 1].label : nullptr;
                line += fieldText(*piece.field, used);
            }
            if (piece.popUp) addItems(*piece.popUp, line);
            if (piece.isControl() && !piece.isEnabled()) line += " (not available)";
            if (piece.isControl() && !piece.button) lines.push_back(std::exchange(line, ""));
        }
        if (!line.empty()) lines.push_back(line);
    }

    std::vector<std::string> lines;

private:
    void addLabel(const NSTextField& label) {
        auto own = linesWithNote(label, columns_, note_);
        std::move(own.begin(), own.end(), std::back_inserter(lines));
    }

    // The items stand below each other; the last one is left in the line.
    void addItems(const NSPopUpButton& popUp, std::string& line) {
        std::string indent(line.size(), ' ');
        for (int item = 0; item < static_cast<int>(popUp.itemTitles().size()); ++item) {
            if (item > 0) lines.push_back(std::exchange(line, indent));
            line += itemLine(popUp, item);
        }
    }

    std::string buttonText(const NSButton& button) const {
        std::string text = harmless(button.title());
        return &button == entered_ ? text + " (Enter)" : text;
    }

    static std::string fieldText(const NSTextField& field, const NSTextField* name) {
        std::string title = name ? name->stringValue() : field.placeholderString();
        std::string text = harmless(field.stringValue());
        return title.empty() ? text : harmless(title) + ": " + text;
    }

    const int columns_;
    const Note& note_;
    const NSButton* const entered_;
    std::size_t next_ = 0;
};

std::string lowered(std::string_view text) {
    std::string result(text);
    for (char& byte : result)
        if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 32);
    return result;
}

std::optional<int> wholeNumber(std::string_view text) {
    int number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

Instruction refused(std::string why) {
    Instruction instruction;
    instruction.refusal = std::move(why);
    return instruction;
}

Instruction choose(std::size_t control, const NSPopUpButton& popUp, std::string_view text) {
    int count = static_cast<int>(popUp.itemTitles().size());
    std::optional<int> number = wholeNumber(text);
    for (int i = 0; i < count && !number; ++i)
        if (lowered(popUp.itemTitles()[static_cast<std::size_t>(i)]) == lowered(text)) number = i + 1;
    if (!number || *number < 1 || *number > count)
        return refused(numberOf(control) + " takes the number of one of its items, as in “" +
                       std::to_string(control + 1) + " 1”.");
    return {control, std::nullopt, *number - 1, ""};
}

Instruction byTitle(std::string_view title, const std::vector<Piece>& controls) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < controls.size(); ++i) {
        NSButton* button = controls[i].button ? controls[i].button : controls[i].checkBox;
        if (!button || lowered(button->title()) != lowered(title)) continue;
        if (found) return refused("There are several of that title: please type the number.");
        found = i;
    }
    if (!found) return refused("There is nothing of that name here: please type one of the numbers.");
    return {found, std::nullopt, std::nullopt, ""};
}

}  // namespace

std::vector<std::string> numberedLines(const Rows& rows, int columns, const Note& note, const NSButton* entered) {
    Numbering numbering(columns, note, entered);
    for (auto& row : rows) numbering.add(row);
    return std::move(numbering.lines);
}

Instruction instructionOf(std::string_view line, const Rows& rows, const NSButton* entered) {
    auto controls = controlsOf(rows);
    if (line.empty()) {
        auto index = indexOf(entered, controls);
        if (!index) return refused("No button here answers to Enter alone: please type a number.");
        return {index, std::nullopt, std::nullopt, ""};
    }
    std::size_t space = line.find(' ');
    bool hasText = space != std::string_view::npos;
    std::string_view text = hasText ? line.substr(space + 1) : "";
    auto number = wholeNumber(line.substr(0, space));
    Instruction instruction;
    if (!number)
        instruction = byTitle(line, controls);
    else if (*number < 1 || *number > static_cast<int>(controls.size()))
        return refused("There is no [" + std::to_string(*number) + "] here.");
    else
        instruction.control = static_cast<std::size_t>(*number - 1);
    if (!instruction.control) return instruction;

    std::size_t index = *instruction.control;
    const Piece& control = controls[index];
    if (!control.isEnabled()) return refused(numberOf(index) + " is not available now.");
    if (!number) return instruction;
    if (control.popUp) return choose(index, *control.popUp, text);
    if (control.field && !hasText)
        return refused(numberOf(index) + " takes a text, as in “" + std::to_string(index + 1) + " text”.");
    if (!control.field && hasText) return refused(numberOf(index) + " takes no text.");
    if (control.field) instruction.text = text;
    return instruction;
}

}  // namespace tobrel::terminal
