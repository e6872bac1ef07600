#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "frontends/gtk/widgets.h"

namespace tobrel::gtk {

// The widgets of one sheet: its content, and its row of buttons. They are built afresh when other views stand on the
// sheet, and else brought up to them in place.
class SheetWidgets {
public:
    explicit SheetWidgets(UserActions& user);

    // True where they have been built afresh.
    bool show(NSView& root, const sheet::Rows& rows);

    GtkWidget* content() const { return content_.get(); }
    GtkWidget* footer() const { return footer_.get(); }
    // Null where the view has none.
    GtkWidget* widgetOf(const NSView* view) const;
    // The view that the focused widget stands for, or null.
    NSView* viewOf(GtkWidget* focused, const sheet::Rows& rows) const;

private:
    void build(NSView& root, const sheet::Rows& rows);

    UserActions& user_;
    Object<GtkWidget> content_;
    Object<GtkWidget> footer_;
    std::vector<std::uint64_t> shown_;
    std::unordered_map<std::uint64_t, GtkWidget*> widgets_;
};

}  // namespace tobrel::gtk
