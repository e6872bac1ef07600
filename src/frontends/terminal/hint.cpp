#include "frontends/terminal/hint.h"

#include "frontends/sheet/user.h"
#include "frontends/terminal/text_width.h"
#include "text/harmless_text.h"

namespace tobrel::terminal {

std::string hintFor(const Rows& rows, const NSView* focus, int columns) {
    auto controls = controlsOf(rows);
    auto index = indexOf(focus, controls);
    const sheet::Piece* focused = index ? &controls[*index] : nullptr;
    const NSButton* entered = focused && focused->button ? focused->button : defaultButton(rows);

    std::string hint;
    // The most important first: what does not fit is left out.
    auto add = [&](const std::string& part) {
        std::string longer = hint + (hint.empty() ? "" : " · ") + part;
        if (columnsOf(longer) <= columns) hint = longer;
    };
    if (entered && entered->isEnabled()) add("Enter " + harmless(entered->title()));
    add("Esc closes");
    if (focused && focused->checkBox) add("Space switches");
    if (focused && focused->popUp) add("↑↓ choose");
    if (controls.size() > 1) add("Tab moves");
    return hint;
}

}  // namespace tobrel::terminal
