#pragma once

#include <cstddef>
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

    // True where they have been built afresh: a list's first lines at once, the others with showMore().
    bool show(NSView& root, const sheet::Rows& rows, std::size_t lines);
    bool isComplete() const { return later_.empty(); }
    // Builds as many lines more. The sheet is as it was at the last show().
    void showMore(const sheet::Rows& rows, std::size_t lines);

    GtkWidget* content() const { return content_.get(); }
    GtkWidget* footer() const { return footer_.get(); }
    // Null where the view has none.
    GtkWidget* widgetOf(const NSView* view) const;
    // The view that the focused widget stands for, or null.
    NSView* viewOf(GtkWidget* focused, const sheet::Rows& rows) const;

private:
    class Builder;
    struct Line {
        GtkWidget* box;
        NSView* view;
    };

    void build(NSView& root, const sheet::Rows& rows, std::size_t lines);
    void finishMade(const sheet::Rows& rows);

    UserActions& user_;
    Object<GtkWidget> content_;
    Object<GtkWidget> footer_;
    std::vector<std::uint64_t> shown_;
    std::unordered_map<std::uint64_t, GtkWidget*> widgets_;
    // Built, and not yet brought up to their views.
    std::unordered_map<std::uint64_t, GtkWidget*> made_;
    std::vector<Line> later_;
    std::size_t room_ = 0;
};

}  // namespace tobrel::gtk
