#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tobrel {
class MainLoop;
class Timer;
}  // namespace tobrel

namespace tobrel::gtk {

// The desktop's clipboard. The toolkit has been started. Main thread only.
class Clipboard {
public:
    // The handler runs when note() has another text.
    Clipboard(MainLoop& loop, std::function<void()> noteChanged);
    ~Clipboard();

    void set(const std::string& text);
    void clear();
    // Some displays take a text only for the sake of a key or a click that is newer than all other programs' copies,
    // and do not tell: a text is known to be there if the focus has been here ever since.
    void userActed();
    void focusWasLost() { actedHere_ = false; }

    // What is true of the last text, in a sentence; empty once it is known to be on the clipboard.
    const std::string& note() const { return note_; }

private:
    void put();
    void check();
    void say(std::string note);

    MainLoop& loop_;
    const std::function<void()> noteChanged_;
    std::string text_;
    bool taken_ = true;
    bool actedHere_ = true;
    std::string note_;
    std::unique_ptr<Timer> timer_;
};

// Whether the clipboard's text is this process's, and gone when it ends. Also where there is no toolkit.
bool clipboardNeedsProcess();

// Returns when the clipboard needs this process no longer.
void holdClipboard();

}  // namespace tobrel::gtk
