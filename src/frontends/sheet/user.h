#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

#include "frontends/sheet/rows.h"

// What all front ends share: which button answers a user, and pressing it. Main thread only.
namespace tobrel::sheet {

// Of what a person or a script enters, so that memory stays bounded.
inline constexpr std::size_t longestLine = std::size_t{1024} * 1024;

// The visible, enabled button whose key is Return, or null.
NSButton* defaultButton(const Rows& rows);
// The visible, enabled button that closes the sheet ("Done", "Cancel"), or null.
NSButton* closingButton(const Rows& rows);
// The button that a form's field, check box or pop-up belongs to: the first enabled one after it that acts for the
// whole form. Null where there is none.
NSButton* buttonFor(const NSView& control, const Rows& rows);

// Which of a form's values are no longer what the sheet made them.
class Changes {
public:
    // The sheet as it is now; to be called each time the main queue has run dry, before the user's next doing.
    void look(const Rows& rows);
    // The first one from the top, or null.
    const NSView* first(const Rows& rows) const;

private:
    // As the sheet first showed them, by the views' ids.
    std::map<std::uint64_t, std::string> original_;
};

// What Return presses: the focused button; in a form that has been changed the button that the change belongs to; else
// the default button. Null where there is none. `focus` may be null.
NSButton* buttonForReturn(const Rows& rows, const NSView* focus, const Changes& changes);

// Where the focus goes when the sheet names no view for it: to the default button, else to the closing one, never to
// one that takes something away. Null where the sheet has neither.
NSView* firstFocus(const Rows& rows);

// Clicks a button or check box and keeps it alive while its action runs, which may take it off the sheet. False, and
// nothing has been done, where the user could not: it is disabled, or it is hidden or in something hidden.
bool press(NSButton& button);

// What the button is about: the text of the label that it stands beside in a list, up to its first separator ("  ·  ").
// Empty for a button of the whole sheet.
std::string subjectOf(const NSButton& button, const Rows& rows);

// The button that was pressed last, while the request works on it: what a user who closes the sheet meanwhile has to be
// told of.
class Unanswered {
public:
    void pressed(const NSButton& button);
    // To be called each time the main queue has run dry, with whether the request works.
    void ranDry(bool working);
    // The sentence to leave behind; empty where nothing is unanswered.
    std::string sentence() const;

private:
    std::string title_;
    bool hasWorked_ = false;
};

// The last thing that the user did to the sheet, and what came of it.
class Attempt {
public:
    // None: nothing was done, or its outcome is still open.
    enum class Outcome { none, accepted, refused, withoutEffect };

    // Just before a control is changed or, where there is one, the button is pressed.
    void begin(const Rows& rows, const NSButton* button = nullptr);
    // The sheet refuses what was typed.
    void beeped() { beeped_ = true; }
    // To be called each time the main queue has run dry.
    void ranDry(const Rows& rows, bool working);

    // The outcome is still to come.
    bool isOpen() const { return open_; }
    Outcome outcome() const { return outcome_; }
    // The outcome has been shown for long enough.
    void forget() { outcome_ = Outcome::none; }
    const Unanswered& unanswered() const { return unanswered_; }

private:
    bool open_ = false;
    bool beeped_ = false;
    bool hasWorked_ = false;
    Unanswered unanswered_;
    std::string before_;
    Outcome outcome_ = Outcome::none;
};

}  // namespace tobrel::sheet
