// What a person or a script types, in whatever pieces it arrives: JSON instructions, a terminal's keys, numbered lines.
// The input's first byte says how long the pieces are.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "check.h"
#include "frontends/json/instructions.h"
#include "frontends/terminal/field_edit.h"
#include "frontends/terminal/keys.h"
#include "frontends/terminal/line_text.h"
#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"
#include "text/utf8.h"

namespace {

using namespace tobrel;

std::vector<std::string_view> pieces(std::string_view text, std::size_t length) {
    std::vector<std::string_view> pieces;
    for (; !text.empty(); text.remove_prefix(std::min(length, text.size()))) pieces.push_back(text.substr(0, length));
    return pieces;
}

std::vector<std::string> linesOf(const std::vector<std::string_view>& pieces) {
    LineBuffer buffer;
    for (std::string_view piece : pieces) buffer.add(piece);
    buffer.end();
    std::vector<std::string> lines;
    while (auto line = buffer.next()) lines.push_back(line->text);
    check(buffer.size() == 0);
    return lines;
}

void checkInstruction(const std::string& line) {
    auto parsed = parseInstruction(line);
    if (auto* refusal = std::get_if<Refusal>(&parsed)) return check(!refusal->message.empty());
    const auto& instruction = std::get<tobrel::Instruction>(parsed);
    if (auto* click = std::get_if<instruction::Click>(&instruction))
        check(click->title.has_value() != click->id.has_value());
    if (auto* wait = std::get_if<instruction::Wait>(&instruction)) {
        check(wait->title.has_value() != wait->text.has_value());
        check(!wait->limit || wait->limit->count() >= 0);
    }
}

std::vector<terminal::KeyPress> pressesOf(const std::vector<std::string_view>& pieces) {
    terminal::KeyReader reader;
    std::vector<terminal::KeyPress> presses;
    auto append = [&](const std::vector<terminal::KeyPress>& more) {
        presses.insert(presses.end(), more.begin(), more.end());
    };
    for (std::string_view piece : pieces) append(reader.take(piece));
    append(reader.finish());
    check(!reader.isUnfinished());
    return presses;
}

void checkEditing(const std::vector<terminal::KeyPress>& presses) {
    constexpr int columns = 10;
    terminal::FieldEdit field = terminal::entered("né 日本");
    for (const auto& press : presses) {
        check(press.text.empty() == (press.key != terminal::Key::text) && isUtf8(press.text));
        check(std::ranges::none_of(press.text, [](unsigned char c) { return c < ' ' || c == 0x7F; }));
        terminal::edit(field, press);
        check(isUtf8(field.text) && isUtf8(std::string_view(field.text).substr(0, field.cursor)));
        auto window = terminal::windowOf(field, columns);
        check(window.cursorColumn >= 0 && window.cursorColumn < columns);
        check(terminal::columnsOf(window.shown) == columns && harmless(window.shown) == window.shown);
    }
}

struct Sheet {
    explicit Sheet(const std::string& text) {
        popUp->addItemWithTitle(text);
        popUp->addItemWithTitle("Can edit");
        field->setPlaceholderString("Email");
        root = NSStackView::stackWithViews(
            NSUserInterfaceLayoutOrientation::vertical,
            {NSTextField::wrappingLabelWithString(text), field, popUp, NSButton::checkboxWithTitle("Expires"), button});
    }
    std::shared_ptr<NSTextField> field = std::make_shared<NSTextField>();
    std::shared_ptr<NSPopUpButton> popUp = std::make_shared<NSPopUpButton>();
    std::shared_ptr<NSButton> button = NSButton::buttonWithTitle("Share");
    std::shared_ptr<NSView> root;
};

void checkNumberedLine(const Sheet& sheet, std::string_view line) {
    auto rows = sheet::rowsOf(*sheet.root);
    auto asked = terminal::instructionOf(line, rows, sheet.button.get());
    check(asked.control.has_value() == asked.refusal.empty());
    if (!asked.control) return;
    auto controls = sheet::controlsOf(rows);
    check(*asked.control < controls.size());
    const auto& control = controls[*asked.control];
    check(asked.text.has_value() == (control.field != nullptr));
    check(!control.popUp || (asked.item && *asked.item >= 0 && *asked.item < 2));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto whole = pieces(text, std::max<std::size_t>(text.size(), 1)), cut = pieces(text, data[0] % 8 + 1);

    auto lines = linesOf(whole);
    check(linesOf(cut) == lines);
    Sheet sheet{std::string(text)};
    for (const std::string& line : lines) {
        checkInstruction(line);
        checkNumberedLine(sheet, line);
    }
    for (int columns : {20, terminal::unlimitedColumns})
        for (const auto& line : terminal::numberedLines(sheet::rowsOf(*sheet.root), columns, {}, nullptr))
            check(harmless(line) == line);

    auto presses = pressesOf(whole);
    check(pressesOf(cut) == presses);
    checkEditing(presses);
    return 0;
}
