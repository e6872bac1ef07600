#include "frontends/sheet/rows.h"

#include <algorithm>
#include <iterator>

namespace tobrel::sheet {

namespace {

// Views side by side, in the order from the left; the groups from the top.
std::vector<std::vector<NSView*>> sideBySide(const NSView& container) {
    std::vector<NSView*> views;
    for (auto& view : container.subviews())
        if (!view->isHidden()) views.push_back(view.get());
    auto top = [](const NSView* view) { return view->frame().y + view->frame().height; };
    std::stable_sort(views.begin(), views.end(), [&](auto* a, auto* b) { return top(a) > top(b); });

    std::vector<std::vector<NSView*>> groups;
    CGFloat bottom = 0;
    for (NSView* view : views) {
        bool below = groups.empty() || top(view) <= bottom;
        if (below) groups.emplace_back();
        bottom = below ? view->frame().y : std::min(bottom, view->frame().y);
        groups.back().push_back(view);
    }
    for (auto& group : groups)
        std::stable_sort(group.begin(), group.end(), [](auto* a, auto* b) { return a->frame().x < b->frame().x; });
    return groups;
}

bool isTitle(const Row& row) {
    return row.pieces.size() == 1 && row.pieces.front().label && row.pieces.front().label->font().bold;
}

class RowCollector : public ViewVisitor {
public:
    Rows rows;

    void visit(NSView& container) override {
        for (auto& group : sideBySide(container)) {
            Rows within = group.size() == 1 ? rowsOfOne(*group.front()) : Rows{merged(group)};
            if (within.empty() || within.front().pieces.empty()) continue;
            within.front().apart = true;
            rows.insert(rows.end(), std::make_move_iterator(within.begin()), std::make_move_iterator(within.end()));
        }
    }
    void visit(NSStackView& stack) override {
        std::vector<NSView*> arranged;
        for (auto& view : stack.subviews())
            if (!view->isHidden()) arranged.push_back(view.get());
        if (stack.orientation() == NSUserInterfaceLayoutOrientation::horizontal) {
            append(merged(arranged));
            return;
        }
        for (NSView* view : arranged) view->accept(*this);
    }
    void visit(NSTextField& field) override {
        Piece piece;
        (field.isEditable() ? piece.field : piece.label) = &field;
        append({{piece}});
    }
    void visit(NSButton& button) override {
        Piece piece;
        (button.type() == NSButtonType::checkBox ? piece.checkBox : piece.button) = &button;
        append({{piece}});
    }
    void visit(NSPopUpButton& popUp) override {
        Piece piece;
        piece.popUp = &popUp;
        append({{piece}});
    }

private:
    static Rows rowsOfOne(NSView& view) {
        RowCollector collector;
        if (!view.isHidden()) view.accept(collector);
        return std::move(collector.rows);
    }
    static Row merged(const std::vector<NSView*>& views) {
        Row row;
        for (NSView* view : views)
            for (Row& inner : rowsOfOne(*view))
                row.pieces.insert(row.pieces.end(), inner.pieces.begin(), inner.pieces.end());
        return row;
    }
    void append(Row row) {
        if (row.pieces.empty()) return;
        row.apart = !rows.empty() && isTitle(rows.back());
        rows.push_back(std::move(row));
    }

    friend Rows tobrel::sheet::rowsOf(NSView& root);
};

bool holdsOnlyButtons(const Row& row) {
    return std::all_of(row.pieces.begin(), row.pieces.end(), [](auto& piece) { return piece.button; });
}

}  // namespace

bool Piece::isEnabled() const {
    if (field) return field->isEnabled();
    if (button) return button->isEnabled();
    if (checkBox) return checkBox->isEnabled();
    return popUp && popUp->isEnabled();
}

NSView& Piece::view() const {
    if (label) return *label;
    if (field) return *field;
    if (button) return *button;
    if (checkBox) return *checkBox;
    return *popUp;
}

Rows rowsOf(NSView& root) {
    Rows rows = RowCollector::rowsOfOne(root);
    if (!rows.empty() && holdsOnlyButtons(rows.back())) rows.back().footer = true;
    return rows;
}

std::vector<Piece> controlsOf(const Rows& rows) {
    std::vector<Piece> controls;
    for (auto& row : rows)
        for (auto& piece : row.pieces)
            if (piece.isControl()) controls.push_back(piece);
    return controls;
}

std::optional<std::size_t> indexOf(const NSView* view, const std::vector<Piece>& controls) {
    for (std::size_t i = 0; i < controls.size(); ++i)
        if (&controls[i].view() == view) return i;
    return std::nullopt;
}

}  // namespace tobrel::sheet
