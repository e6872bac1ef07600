#pragma once

#include <gtk/gtk.h>

#include "frontends/gtk/gobject.h"
#include "frontends/sheet/rows.h"

// One widget for each kind of view. A widget is owned by the container that it is put into.
namespace tobrel::gtk {

// What the user does with a view's widget.
class UserActions {
public:
    virtual ~UserActions() = default;
    virtual void press(NSButton& button) = 0;
    // Return, in a field.
    virtual void finishField() = 0;
};

// Pixels for a length in the sheet's points, which are made for a font of 13 points: the sheet grows with the user's.
int pixels(GtkWidget* near, CGFloat points);

// A label of a sheet's line, wrapping where it is a message, else shortened in its middle with the whole as tooltip.
enum class Lines { one, all };
GtkWidget* makeLabel(const NSTextField& label, Lines lines);
GtkWidget* makeNote();
GtkWidget* makeField(NSTextField& field, UserActions& user);
GtkWidget* makeButton(NSButton& button, UserActions& user);
GtkWidget* makeCheckBox(NSButton& checkBox, UserActions& user);
GtkWidget* makePopUp(NSPopUpButton& popUp);

// Brings the widget up to the view; what the view has not changed stays as it is.
void update(GtkWidget* widget, const sheet::Piece& piece);
void setAccessible(GtkWidget* widget, const sheet::Piece& piece, const sheet::Row& row);
inline constexpr const char* refusedText = "This entry is not accepted.";
// Marks a field whose text was refused, for eyes and screen readers, or takes the mark away.
void markRefused(GtkWidget* field, bool refused);

}  // namespace tobrel::gtk
