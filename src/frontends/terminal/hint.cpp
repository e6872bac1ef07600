#include "frontends/terminal/hint.h"

#include "platform/harmless_text.h"

namespace tobrel::terminal {

std::string hintFor(const Rows& rows, const NSView* focus) {
    auto controls = controlsOf(rows);
    auto index = indexOf(focus, controls);
    const Piece* focused = index ? &controls[*index] : nullptr;
    const NSButton* entered = focused && focused->button ? focused->button : defaultButton(rows);

    std::string hint;
    auto add = [&](const std::string& part) { hint += (hint.empty() ? "" : " · ") + part; };
    if (entered && entered->isEnabled()) add("Enter " + harmless(entered->title()));
    if (focused && focused->checkBox) add("Space switches");
    if (focused && focused->popUp) add("↑↓ choose");
    if (controls.size() > 1) add("Tab moves");
    add("Esc closes");
    return hint;
}

}  // namespace tobrel::terminal
