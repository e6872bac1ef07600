#include "frontends/terminal/sheet_lines.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

namespace {

constexpr int margin = 2;
constexpr int widestText = 74;
constexpr int narrowestLabel = 12;
constexpr int widestField = 44;
constexpr CGFloat pointsPerColumn = 8;

struct Drawn {
    std::vector<Span> spans;
    int columns = 0;
    int cursorColumn = 0;
};

class SheetLayout {
public:
    SheetLayout(const Rows& rows, const LayoutInput& input)
        : input_(input),
          indent_(input.columns >= 40 ? margin : 0),
          columns_(std::clamp(input.columns - 1 - indent_, 8, widestText)) {
        for (auto& row : rows) labelColumns_ = std::max(labelColumns_, labelColumnsOf(row));
        result_.footer = std::string::npos;
        for (auto& row : rows) add(row);
        result_.footer = std::min(result_.footer, result_.lines.size());
        if (!result_.rows.empty()) return;
        for (std::size_t line = 0; line < result_.footer; ++line) result_.rows.push_back({line, line});
    }

    SheetLines take() { return std::move(result_); }

private:
    bool isFocused(const Piece& piece) const { return &piece.view() == input_.focus; }
    bool isStyled() const { return input_.styling == Styling::styled; }

    void add(const Row& row) {
        if (row.apart && !result_.lines.empty()) result_.lines.emplace_back();
        std::size_t first = result_.lines.size();
        if (row.footer) result_.footer = first;
        if (row.pieces.size() == 1 && row.pieces.front().label)
            addLabel(*row.pieces.front().label);
        else
            addFlow(row);
        if (!row.footer && !sheet::controlsOf({row}).empty()) result_.rows.push_back({first, result_.lines.size() - 1});
    }

    static Style styleOf(const NSTextField& label) {
        if (label.textColor() == NSTextColor::link) return Style::link;
        if (label.textColor() == NSTextColor::secondaryLabel) return Style::dim;
        return label.font().bold ? Style::bold : Style::plain;
    }

    void addLabel(const NSTextField& label) {
        if (belongsTo(input_.note, label))
            for (auto& line : fitted(input_.note.text, columns_, 0))
                addLine({{{std::move(line), Style::dim}}, indent_});
        for (auto& line : linesOf(label, columns_)) {
            if (isAddress(line))
                addAddress(line, label.textColor() == NSTextColor::link ? Style::link : Style::plain);
            else
                addLine({{{std::move(line), styleOf(label)}}, indent_});
        }
    }

    void addAddress(std::string_view address, Style style) {
        bool fits = indent_ + columnsOf(address) < input_.columns;
        if (fits) return addLine({{{std::string(address), style}}, indent_});
        for (bool joined = false; !address.empty(); joined = true) {
            auto part = prefixWithin(address, input_.columns);
            if (part.empty()) part = address.substr(0, firstCharacter(address));
            addLine({{{std::string(part), style}}, 0, joined});
            address.remove_prefix(part.size());
        }
    }

    void addLine(Line line) { result_.lines.push_back(std::move(line)); }

    // How wide the labels of a list are, so that the buttons beside them stand in one column.
    int labelColumnsOf(const Row& row) const {
        int columns = roomForLabel(row);
        return columns == 0 ? 0 : columnsOf(lineOf(*row.pieces.front().label, columns));
    }

    int roomForLabel(const Row& row) const {
        if (row.pieces.size() < 2 || !row.pieces.front().label || !row.pieces[1].button) return 0;
        int room = columns_;
        for (auto& piece : row.pieces)
            if (!piece.label) room -= gapBefore(piece) + draw(piece).columns;
        return room >= narrowestLabel ? room : columns_;
    }

    static int gapBefore(const Piece& piece) { return piece.button ? 2 : 1; }

    void addFlow(const Row& row) {
        Line line{{}, indent_};
        int used = 0;
        int room = roomForLabel(row);
        for (auto& piece : row.pieces) {
            Drawn drawn = draw(piece);
            if (piece.label && room > 0 && used == 0) {
                std::string text = padded(lineOf(*piece.label, room), std::min(labelColumns_, room));
                drawn = {{{text, styleOf(*piece.label)}}, columnsOf(text)};
            }
            int gap = used == 0 ? 0 : gapBefore(piece);
            if (used > 0 && used + gap + drawn.columns > columns_) {
                addLine(std::exchange(line, Line{{}, indent_}));
                used = gap = 0;
            }
            if (gap > 0) line.spans.push_back({std::string(static_cast<std::size_t>(gap), ' ')});
            if (piece.isControl()) result_.controlLines.push_back(result_.lines.size());
            if (isFocused(piece)) result_.cursor = {result_.lines.size(), indent_ + used + gap + drawn.cursorColumn};
            std::move(drawn.spans.begin(), drawn.spans.end(), std::back_inserter(line.spans));
            used += gap + drawn.columns;
        }
        addLine(std::move(line));
    }

    Drawn draw(const Piece& piece) const {
        Drawn drawn;
        if (piece.label)
            drawn.spans = {{lineOf(*piece.label, columns_), styleOf(*piece.label)}};
        else if (piece.field)
            drawn = drawField(*piece.field, isFocused(piece));
        else if (piece.checkBox)
            drawn = drawCheckBox(*piece.checkBox, isFocused(piece));
        else if (piece.button)
            drawn = drawBox(piece.button->title(), "", piece, piece.button == input_.entered);
        else
            drawn = drawBox(selectedTitle(*piece.popUp), " ▾", piece, false);
        for (auto& span : drawn.spans) drawn.columns += columnsOf(span.text);
        return drawn;
    }

    static std::string selectedTitle(const NSPopUpButton& popUp) {
        int selected = popUp.indexOfSelectedItem();
        return selected < 0 ? "" : popUp.itemTitles()[static_cast<std::size_t>(selected)];
    }

    // Without styles, other brackets show the focus.
    std::string opening(bool focused) const { return focused && !isStyled() ? ">" : "["; }
    std::string closing(bool focused) const { return focused && !isStyled() ? "<" : "]"; }

    Style controlStyle(bool enabled, bool focused) const {
        if (focused && isStyled()) return Style::focus;
        return enabled ? Style::plain : Style::dim;
    }

    Drawn drawBox(const std::string& title, const std::string& mark, const Piece& piece, bool isDefault) const {
        bool focused = isFocused(piece);
        std::string shown = fitted(harmless(title), columns_ - 4 - columnsOf(mark), 1).front() + mark;
        Style style = controlStyle(piece.isEnabled(), focused);
        if (isDefault && style == Style::plain) style = Style::bold;
        return {{{opening(focused) + " " + shown + " " + closing(focused), style}}, 0, 2};
    }

    Drawn drawCheckBox(const NSButton& checkBox, bool focused) const {
        std::string box = opening(focused) + (checkBox.isOn() ? "x" : " ") + closing(focused);
        std::string title = " " + fitted(harmless(checkBox.title()), columns_ - 4, 1).front();
        return {{{box, controlStyle(checkBox.isEnabled(), focused)},
                 {title, checkBox.isEnabled() ? Style::plain : Style::dim}},
                0,
                1};
    }

    Drawn drawField(const NSTextField& field, bool focused) const {
        int wished = field.exactWidth() ? static_cast<int>(*field.exactWidth() / pointsPerColumn) : widestField;
        int columns = std::clamp(columns_ - 2, 2, std::max(wished, 4));
        FieldEdit edit = focused ? input_.edit : FieldEdit{field.stringValue()};
        FieldWindow window = windowOf(edit, columns);
        Style inside = !field.isEnabled()                       ? Style::dim
                       : focused && edit.selected && isStyled() ? Style::focus
                                                                : Style::plain;
        if (field.stringValue().empty()) {
            window.shown = padded(fitted(harmless(field.placeholderString()), columns, 1).front(), columns);
            inside = Style::dim;
        }
        Style edge = focused && isStyled() ? Style::bold : inside == Style::focus ? Style::plain : inside;
        std::string text = window.shown;
        std::string rest;
        if (inside == Style::focus) {
            // Only the text itself shows as selected.
            std::size_t end = text.find_last_not_of(' ') + 1;
            rest = text.substr(end);
            text.resize(end);
        }
        return {
            {{opening(focused), edge}, {text, inside}, {rest}, {closing(focused), edge}}, 0, 1 + window.cursorColumn};
    }

    const LayoutInput& input_;
    const int indent_;
    const int columns_;
    int labelColumns_ = 0;
    SheetLines result_;
};

}  // namespace

SheetLines layOut(const Rows& rows, const LayoutInput& input) {
    return SheetLayout(rows, input).take();
}

int columnsOf(const Line& line) {
    int columns = line.indent;
    for (auto& span : line.spans) columns += columnsOf(span.text);
    return columns;
}

}  // namespace tobrel::terminal
