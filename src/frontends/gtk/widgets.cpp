#include "frontends/gtk/widgets.h"

#include <cmath>
#include <string_view>
#include <vector>

#include "frontends/gtk/shown_text.h"

namespace tobrel::gtk {

namespace {

constexpr CGFloat ordinaryFontSize = 13;

// Emits nothing when the text is what it was, so that a user's cursor stays.
void setText(GtkEditable* entry, const std::string& text) {
    if (gtk_editable_get_text(entry) != std::string_view(text)) gtk_editable_set_text(entry, text.c_str());
}

void setText(GtkLabel* label, const std::string& text) {
    if (gtk_label_get_text(label) != std::string_view(text)) gtk_label_set_text(label, text.c_str());
}

float alignmentOf(NSTextAlignment alignment, GtkWidget* widget) {
    bool rightToLeft = gtk_widget_get_direction(widget) == GTK_TEXT_DIR_RTL;
    switch (alignment) {
        case NSTextAlignment::center:
            return 0.5F;
        case NSTextAlignment::right:
            return rightToLeft ? 0.0F : 1.0F;
        case NSTextAlignment::left:
            return rightToLeft ? 1.0F : 0.0F;
        case NSTextAlignment::natural:
            break;
    }
    return 0;
}

// Only text that had to be shortened has more to say.
void tellWholeText(GtkWidget* label) {
    gtk_widget_set_has_tooltip(label, true);
    connect(label, "query-tooltip", std::function([label](int, int, gboolean, GtkTooltip* tooltip) -> gboolean {
                if (!pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(label)))) return false;
                gtk_tooltip_set_text(tooltip, gtk_label_get_text(GTK_LABEL(label)));
                return true;
            }));
}

void setFont(GtkLabel* label, const NSFont& font) {
    if (font.size == ordinaryFontSize && !font.bold) return;
    PangoAttrList* attributes = pango_attr_list_new();
    if (font.size != ordinaryFontSize)
        pango_attr_list_insert(attributes, pango_attr_scale_new(font.size / ordinaryFontSize));
    if (font.bold) pango_attr_list_insert(attributes, pango_attr_weight_new(PANGO_WEIGHT_BOLD));
    gtk_label_set_attributes(label, attributes);
    pango_attr_list_unref(attributes);
}

void setColor(GtkWidget* label, NSTextColor color) {
    if (color == NSTextColor::secondaryLabel) gtk_widget_add_css_class(label, "dim-label");
    if (color == NSTextColor::link) gtk_widget_add_css_class(label, "address");
}

// Its width is what its container gives it, never what its text wants.
void fillWidth(GtkLabel* label) {
    gtk_label_set_width_chars(label, 1);
    gtk_label_set_max_width_chars(label, 1);
    gtk_widget_set_hexpand(GTK_WIDGET(label), true);
}

void wrap(GtkLabel* label) {
    gtk_label_set_wrap(label, true);
    gtk_label_set_wrap_mode(label, PANGO_WRAP_WORD_CHAR);
}

void setProperty(GtkWidget* widget, GtkAccessibleProperty property, const std::string& text) {
    if (text.empty())
        gtk_accessible_reset_property(GTK_ACCESSIBLE(widget), property);
    else
        gtk_accessible_update_property(GTK_ACCESSIBLE(widget), property, text.c_str(), -1);
}

// Nothing on the sheet names a pop-up, so that what it says has to; the focus is on the button inside.
void nameByChoice(GtkWidget* dropDown, const NSPopUpButton& popUp) {
    int selected = popUp.indexOfSelectedItem();
    std::string title = selected < 0 ? "" : shownText(popUp.itemTitles()[static_cast<std::size_t>(selected)]);
    for (GtkWidget* widget : {dropDown, gtk_widget_get_first_child(dropDown)})
        setProperty(widget, GTK_ACCESSIBLE_PROPERTY_LABEL, title);
}

}  // namespace

int pixels(GtkWidget* near, CGFloat points) {
    const PangoFontDescription* font = pango_context_get_font_description(gtk_widget_get_pango_context(near));
    double size = static_cast<double>(pango_font_description_get_size(font)) / PANGO_SCALE;
    if (!pango_font_description_get_size_is_absolute(font))
        size *= pango_cairo_context_get_resolution(gtk_widget_get_pango_context(near)) / 72;
    return static_cast<int>(std::lround(points * size / ordinaryFontSize));
}

GtkWidget* makeLabel(const NSTextField& view, Lines lines) {
    GtkWidget* widget = gtk_label_new(shownText(view.stringValue()).c_str());
    auto* label = GTK_LABEL(widget);
    fillWidth(label);
    gtk_label_set_xalign(label, alignmentOf(view.alignment(), widget));
    setFont(label, view.font());
    setColor(widget, view.textColor());
    if (lines == Lines::one) {
        gtk_label_set_single_line_mode(label, true);
        gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_MIDDLE);
        tellWholeText(widget);
    } else {
        wrap(label);
        if (view.alignment() == NSTextAlignment::center) gtk_label_set_justify(label, GTK_JUSTIFY_CENTER);
        if (view.lineBreakMode() == NSLineBreakMode::truncatingMiddle) {
            gtk_label_set_lines(label, view.maximumNumberOfLines());
            gtk_label_set_ellipsize(label, PANGO_ELLIPSIZE_MIDDLE);
            tellWholeText(widget);
        }
    }
    return widget;
}

GtkWidget* makeNote() {
    GtkWidget* widget = gtk_label_new(nullptr);
    fillWidth(GTK_LABEL(widget));
    wrap(GTK_LABEL(widget));
    gtk_label_set_justify(GTK_LABEL(widget), GTK_JUSTIFY_CENTER);
    setFont(GTK_LABEL(widget), NSFont::systemFontOfSize(11));
    gtk_widget_add_css_class(widget, "dim-label");
    gtk_widget_set_visible(widget, false);
    return widget;
}

GtkWidget* makeField(NSTextField& field, UserActions& user) {
    GtkWidget* entry = gtk_entry_new();
    gtk_entry_set_placeholder_text(GTK_ENTRY(entry), shownText(field.placeholderString()).c_str());
    gtk_entry_set_alignment(GTK_ENTRY(entry), alignmentOf(field.alignment(), entry));
    if (auto width = field.exactWidth()) {
        // What the theme puts around the text comes on top.
        gtk_editable_set_width_chars(GTK_EDITABLE(entry), 1);
        gtk_editable_set_max_width_chars(GTK_EDITABLE(entry), 1);
        gtk_widget_set_size_request(entry, pixels(entry, *width + 12), -1);
    }
    gtk_editable_set_text(GTK_EDITABLE(entry), field.stringValue().c_str());
    onSignal(entry, "changed", [&field, entry] {
        markRefused(entry, false);
        field.setStringValue(gtk_editable_get_text(GTK_EDITABLE(entry)));
    });
    onSignal(entry, "activate", [&user] { user.finishField(); });
    return entry;
}

GtkWidget* makeButton(NSButton& button, UserActions& user) {
    GtkWidget* widget = gtk_button_new_with_label(shownText(button.title()).c_str());
    onSignal(widget, "clicked", [&button, &user] { user.press(button); });
    return widget;
}

GtkWidget* makeCheckBox(NSButton& checkBox, UserActions& user) {
    GtkWidget* widget = gtk_check_button_new_with_label(shownText(checkBox.title()).c_str());
    gtk_check_button_set_active(GTK_CHECK_BUTTON(widget), checkBox.isOn());
    onSignal(widget, "toggled", [&checkBox, &user, widget] {
        bool active = gtk_check_button_get_active(GTK_CHECK_BUTTON(widget));
        if (active != checkBox.isOn()) user.press(checkBox);
    });
    return widget;
}

GtkWidget* makePopUp(NSPopUpButton& popUp) {
    std::vector<std::string> titles;
    for (auto& title : popUp.itemTitles()) titles.push_back(shownText(title));
    std::vector<const char*> items;
    for (auto& title : titles) items.push_back(title.c_str());
    items.push_back(nullptr);
    GtkWidget* dropDown = gtk_drop_down_new_from_strings(items.data());
    onNotify(dropDown, "selected", [&popUp, dropDown] {
        guint selected = gtk_drop_down_get_selected(GTK_DROP_DOWN(dropDown));
        popUp.selectItemAtIndex(selected == GTK_INVALID_LIST_POSITION ? -1 : static_cast<int>(selected));
        nameByChoice(dropDown, popUp);
    });
    return dropDown;
}

void update(GtkWidget* widget, const sheet::Piece& piece) {
    if (piece.label) {
        bool selectable = piece.label->isSelectable() || holdsAddress(piece.label->stringValue());
        setText(GTK_LABEL(widget), shownText(piece.label->stringValue()));
        if (gtk_label_get_selectable(GTK_LABEL(widget)) != selectable)
            gtk_label_set_selectable(GTK_LABEL(widget), selectable);
        return;
    }
    gtk_widget_set_sensitive(widget, piece.isEnabled());
    if (piece.field) setText(GTK_EDITABLE(widget), piece.field->stringValue());
    if (piece.checkBox) gtk_check_button_set_active(GTK_CHECK_BUTTON(widget), piece.checkBox->isOn());
    if (piece.popUp) {
        int selected = piece.popUp->indexOfSelectedItem();
        guint position = selected < 0 ? GTK_INVALID_LIST_POSITION : static_cast<guint>(selected);
        if (gtk_drop_down_get_selected(GTK_DROP_DOWN(widget)) != position)
            gtk_drop_down_set_selected(GTK_DROP_DOWN(widget), position);
        nameByChoice(widget, *piece.popUp);
    }
}

void setAccessible(GtkWidget* widget, const sheet::Piece& piece, const sheet::Row& row) {
    if (piece.popUp) return nameByChoice(widget, *piece.popUp);
    auto [name, description] = nameOf(piece, row);
    setProperty(widget, GTK_ACCESSIBLE_PROPERTY_LABEL, name);
    setProperty(widget, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, description);
}

void markRefused(GtkWidget* field, bool refused) {
    if (refused == static_cast<bool>(gtk_widget_has_css_class(field, "error"))) return;
    if (refused)
        gtk_widget_add_css_class(field, "error");
    else
        gtk_widget_remove_css_class(field, "error");
    auto state = refused ? GTK_ACCESSIBLE_INVALID_TRUE : GTK_ACCESSIBLE_INVALID_FALSE;
    gtk_accessible_update_state(GTK_ACCESSIBLE(field), GTK_ACCESSIBLE_STATE_INVALID, state, -1);
    setProperty(field, GTK_ACCESSIBLE_PROPERTY_DESCRIPTION, refused ? refusedText : "");
}

}  // namespace tobrel::gtk
