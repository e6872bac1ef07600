#include "frontends/gtk/sheet_widgets.h"

#include <utility>

namespace tobrel::gtk {

namespace {

constexpr int buttonSpacing = 8;
constexpr CGFloat leastButtonWidth = 96;

Object<GtkWidget> makeBox(GtkOrientation orientation, int spacing) {
    return Object<GtkWidget>(GTK_WIDGET(g_object_ref_sink(gtk_box_new(orientation, spacing))));
}

}  // namespace

// Fills a container with the views' widgets.
class SheetWidgets::Builder : public ViewVisitor {
public:
    Builder(GtkWidget* box, SheetWidgets& into) : box_(box), into_(into) {}

    void visit(NSView& container) override {
        for (auto& view : container.subviews()) view->accept(*this);
    }
    void visit(NSStackView& stack) override {
        bool isRow = stack.orientation() == NSUserInterfaceLayoutOrientation::horizontal;
        GtkWidget* inner =
            gtk_box_new(isRow ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL, pixels(box_, stack.spacing()));
        gtk_box_append(GTK_BOX(box_), inner);
        Builder builder(inner, into_);
        builder.isRow_ = isRow;
        for (auto& view : stack.subviews()) builder.build(*view);
    }
    void visit(NSTextField& field) override {
        if (field.isEditable()) return add(field, makeField(field, into_.user_));
        bool isMessage = !isRow_ && !field.font().bold && !field.isSelectable();
        add(field, makeLabel(field, isMessage ? Lines::all : Lines::one));
    }
    void visit(NSButton& button) override {
        bool isCheckBox = button.type() == NSButtonType::checkBox;
        add(button, isCheckBox ? makeCheckBox(button, into_.user_) : makeButton(button, into_.user_));
    }
    void visit(NSPopUpButton& popUp) override { add(popUp, makePopUp(popUp)); }

    // Now, or later where it is a line below the last one that there is room for.
    void build(NSView& view) {
        if (!isRow_ && into_.room_ == 0) return into_.later_.push_back({box_, &view});
        if (!isRow_) --into_.room_;
        view.accept(*this);
    }

private:
    void add(NSView& view, GtkWidget* widget) {
        if (view.isHidden()) gtk_widget_set_visible(widget, false);
        gtk_box_append(GTK_BOX(box_), widget);
        into_.made_[view.id()] = widget;
    }

    GtkWidget* const box_;
    SheetWidgets& into_;
    bool isRow_ = false;
};

namespace {

std::vector<std::uint64_t> idsOf(const sheet::Rows& rows) {
    std::vector<std::uint64_t> ids;
    for (auto& row : rows)
        for (auto& piece : row.pieces) ids.push_back(piece.view().id());
    return ids;
}

bool isInFooter(const NSView* view, const sheet::Rows& rows) {
    return !rows.empty() && rows.back().footer && sheet::indexOf(view, rows.back().pieces);
}

}  // namespace

SheetWidgets::SheetWidgets(UserActions& user)
    : user_(user),
      content_(makeBox(GTK_ORIENTATION_VERTICAL, 0)),
      footer_(makeBox(GTK_ORIENTATION_HORIZONTAL, buttonSpacing)) {}

bool SheetWidgets::show(NSView& root, const sheet::Rows& rows, std::size_t lines) {
    auto ids = idsOf(rows);
    bool isOther = ids != shown_ || widgets_.empty();
    if (isOther) {
        build(root, rows, lines);
        shown_ = std::move(ids);
    }
    for (auto& row : rows)
        for (auto& piece : row.pieces)
            if (GtkWidget* widget = widgetOf(&piece.view())) update(widget, piece);
    return isOther;
}

void SheetWidgets::build(NSView& root, const sheet::Rows& rows, std::size_t lines) {
    widgets_.clear();
    later_.clear();
    content_ = makeBox(GTK_ORIENTATION_VERTICAL, 0);
    footer_ = makeBox(GTK_ORIENTATION_HORIZONTAL, buttonSpacing);

    room_ = lines;
    Builder builder(content_.get(), *this);
    for (auto& view : root.subviews())
        if (!view->isHidden() && !isInFooter(view.get(), rows)) view->accept(builder);
    if (!rows.empty() && rows.back().footer) {
        Builder buttons(footer_.get(), *this);
        for (auto& piece : rows.back().pieces) {
            piece.view().accept(buttons);
            gtk_widget_set_size_request(made_.at(piece.view().id()), pixels(footer_.get(), leastButtonWidth), -1);
        }
        gtk_box_set_homogeneous(GTK_BOX(footer_.get()), true);
        gtk_widget_set_hexpand(footer_.get(), true);
        gtk_widget_set_halign(footer_.get(), GTK_ALIGN_END);
    }
    finishMade(rows);
}

void SheetWidgets::showMore(const sheet::Rows& rows, std::size_t lines) {
    room_ = lines;
    auto waiting = std::exchange(later_, {});
    for (auto& [box, view] : waiting) Builder(box, *this).build(*view);
    finishMade(rows);
}

void SheetWidgets::finishMade(const sheet::Rows& rows) {
    for (auto& row : rows)
        for (auto& piece : row.pieces) {
            auto made = made_.find(piece.view().id());
            if (made == made_.end()) continue;
            update(made->second, piece);
            if (piece.isControl()) setAccessible(made->second, piece, row);
        }
    widgets_.merge(made_);
    made_.clear();
}

GtkWidget* SheetWidgets::widgetOf(const NSView* view) const {
    auto found = view ? widgets_.find(view->id()) : widgets_.end();
    return found == widgets_.end() ? nullptr : found->second;
}

NSView* SheetWidgets::viewOf(GtkWidget* focused, const sheet::Rows& rows) const {
    for (; focused; focused = gtk_widget_get_parent(focused))
        for (auto& row : rows)
            for (auto& piece : row.pieces)
                if (widgetOf(&piece.view()) == focused) return &piece.view();
    return nullptr;
}

}  // namespace tobrel::gtk
