#pragma once

#include <string>

#include "frontends/sheet/rows.h"

// What of a sheet's text the toolkit gets. Pure.
namespace tobrel::gtk {

// A label's lines, each harmless, so that nothing in them moves or hides another part of the window.
std::string shownText(const std::string& text);

// Whether one of the lines is a web address, which a user may want to select.
bool holdsAddress(const std::string& text);

struct ControlName {
    std::string name;
    // What tells it from others of the same name.
    std::string description;
};

// How a screen reader calls the control: a button and a check box by their title, a field by what stands around it.
ControlName nameOf(const sheet::Piece& control, const sheet::Row& row);

}  // namespace tobrel::gtk
