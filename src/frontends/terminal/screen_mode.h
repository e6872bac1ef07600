#pragma once

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "frontends/sheet/user.h"
#include "frontends/terminal/frame.h"
#include "frontends/terminal/keys.h"
#include "frontends/terminal/mode.h"
#include "frontends/terminal/raw_terminal.h"
#include "platform/main_loop.h"

namespace tobrel::terminal {

// Draws the sheet in place, below where the cursor stood, and takes single keys.
class ScreenMode : public Mode {
public:
    explicit ScreenMode(const Terminal& terminal) : terminal_(terminal) {}
    ~ScreenMode() override;

    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void beeped() override { attempt_.beeped(); }
    void requestEnded(End end, const std::optional<std::string>& unopened, bool changed) override;

private:
    // What came from the terminal.
    void readKeys();
    void takeEvents();
    void expectMoreKeys();
    void close();

    // What a key does.
    void handleKeys();
    void handle(const KeyPress& press);
    bool editField(NSTextField& field, const KeyPress& press);
    static bool changePopUp(NSPopUpButton& popUp, const KeyPress& press);
    void press(NSButton& button, const Rows& rows);
    void suspend();

    // Where the focus is. The view tree keeps it, so that the sheet's own wishes and the user's keys agree.
    void settleFocus(const Rows& rows);
    void moveFocus(const std::vector<Piece>& controls, int direction);
    void page(const std::vector<Piece>& controls, int direction);
    void goToEnd(const Rows& rows, const std::vector<Piece>& controls);

    bool isWorking() const { return second_ != nullptr; }
    void takeNote(const Rows& rows, bool working);
    void countSeconds();
    void draw();
    void noteSize(const TerminalSize& size);
    std::string erasing() const;

    const Terminal& terminal_;
    std::unique_ptr<RawTerminal> raw_;
    KeyReader reader_;
    std::unique_ptr<Timer> restOfSequence_;
    std::deque<KeyPress> keys_;
    bool dirty_ = true;

    Frame frame_;
    TerminalSize size_;
    std::size_t scroll_ = 0;
    std::vector<std::size_t> controlLines_;
    // What stands on the terminal is not what was drawn last.
    bool isGarbled_ = false;
    // Parts of what was drawn have been pushed out of the terminal's sight.
    bool lostLines_ = false;

    std::uint64_t editedField_ = 0;
    FieldEdit edit_;
    sheet::Changes changes_;
    sheet::Attempt attempt_;
    // How long the request has been working; counted while it does.
    int secondsOfWork_ = 0;
    std::unique_ptr<Timer> second_;
    std::optional<std::size_t> focusIndex_;
    // The same, where that is a control of a form or a list.
    std::optional<std::size_t> bodyFocus_;
    // The place in the order of controls at which such a focus was lost, until it moves on.
    std::optional<std::size_t> resumeIndex_;
};

}  // namespace tobrel::terminal
