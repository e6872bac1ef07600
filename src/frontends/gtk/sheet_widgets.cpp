#include "frontends/gtk/sheet_widgets.h"

#include <algorithm>

namespace tobrel::gtk {

namespace {

constexpr int buttonSpacing = 8;
constexpr CGFloat leastButtonWidth = 96;

Object<GtkWidget> makeBox(GtkOrientation orientation, int spacing) {
    return Object<GtkWidget>(GTK_WIDGET(g_object_ref_sink(gtk_box_new(orientation, spacing))));
}

// Fills a container with the views' widgets.
class Builder : public ViewVisitor {
public:
    Builder(GtkWidget* box, UserActions& user, std::unordered_map<std::uint64_t, GtkWidget*>& widgets)
        : box_(box), user_(user), widgets_(widgets) {}

    void visit(NSView& container) override {
        for (auto& view : container.subviews()) view->accept(*this);
    }
    void visit(NSStackView& stack) override {
        bool isRow = stack.orientation() == NSUserInterfaceLayoutOrientation::horizontal;
        GtkWidget* inner =
            gtk_box_new(isRow ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL, pixels(box_, stack.spacing()));
        gtk_box_append(GTK_BOX(box_), inner);
        Builder builder(inner, user_, widgets_);
        builder.isRow_ = isRow;
        for (auto& view : stack.subviews()) view->accept(builder);
    }
    void visit(NSTextField& field) override {
        if (field.isEditable()) return add(field, makeField(field, user_));
        bool isMessage = !isRow_ && !field.font().bold && !field.isSelectable();
        add(field, makeLabel(field, isMessage ? Lines::all : Lines::one));
    }
    void visit(NSButton& button) override {
        add(button, button.type() == NSButtonType::checkBox ? makeCheckBox(button, user_) : makeButton(button, user_));
    }
    void visit(NSPopUpButton& popUp) override { add(popUp, makePopUp(popUp)); }

private:
    void add(NSView& view, GtkWidget* widget) {
        if (view.isHidden()) gtk_widget_set_visible(widget, false);
        gtk_box_append(GTK_BOX(box_), widget);
        widgets_[view.id()] = widget;
    }

    GtkWidget* const box_;
    UserActions& user_;
    std::unordered_map<std::uint64_t, GtkWidget*>& widgets_;
    bool isRow_ = false;
};

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

bool SheetWidgets::show(NSView& root, const sheet::Rows& rows) {
    auto ids = idsOf(rows);
    bool isOther = ids != shown_ || widgets_.empty();
    if (isOther) {
        build(root, rows);
        shown_ = std::move(ids);
    }
    for (auto& row : rows)
        for (auto& piece : row.pieces) update(widgetOf(&piece.view()), piece);
    return isOther;
}

void SheetWidgets::build(NSView& root, const sheet::Rows& rows) {
    widgets_.clear();
    content_ = makeBox(GTK_ORIENTATION_VERTICAL, 0);
    footer_ = makeBox(GTK_ORIENTATION_HORIZONTAL, buttonSpacing);

    Builder builder(content_.get(), user_, widgets_);
    for (auto& view : root.subviews())
        if (!view->isHidden() && !isInFooter(view.get(), rows)) view->accept(builder);
    if (!rows.empty() && rows.back().footer) {
        Builder buttons(footer_.get(), user_, widgets_);
        for (auto& piece : rows.back().pieces) {
            piece.view().accept(buttons);
            gtk_widget_set_size_request(widgetOf(&piece.view()), pixels(footer_.get(), leastButtonWidth), -1);
        }
        gtk_box_set_homogeneous(GTK_BOX(footer_.get()), true);
        gtk_widget_set_hexpand(footer_.get(), true);
        gtk_widget_set_halign(footer_.get(), GTK_ALIGN_END);
    }
    for (auto& row : rows)
        for (auto& piece : row.pieces)
            if (piece.isControl()) setAccessible(widgetOf(&piece.view()), piece, row);
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
