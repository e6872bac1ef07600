#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "frontends/sheet/user.h"
#include "frontends/terminal/label_lines.h"
#include "frontends/terminal/mode.h"

namespace tobrel::terminal {

// Standard input, cut into lines. Main thread only.
class LineInput {
public:
    // A descriptor of -1 has ended.
    LineInput(int descriptor, MainLoop& loop) : descriptor_(descriptor), loop_(loop), ended_(descriptor < 0) {}
    ~LineInput() { unwatch(); }
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;

    // The next line, if one has been read.
    std::optional<std::string> take();
    // Nothing is left, and no more will come.
    bool hasEnded() const { return ended_ && unread_.empty(); }
    // `news` runs each time more has been read, or the end.
    void watch(std::function<void()> news);
    void unwatch();

private:
    void readMore();

    const int descriptor_;
    MainLoop& loop_;
    std::string unread_;
    bool ended_;
    bool watching_ = false;
};

// Prints the sheet as text and takes one line of input at a time, for scripts and for terminals that can do no more.
class LineMode : public Mode {
public:
    explicit LineMode(const Terminal& terminal);

    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void beeped() override { attempt_.beeped(); }
    void requestEnded(End end, const std::optional<std::string>& unopened, bool changed) override;

private:
    enum class State { hidden, shown, closed };
    // What the user is asked for on a terminal: nothing yet, a line that the output now ends in, or nothing just now.
    enum class Prompt { neverShown, standing, none };
    // The sheet as the output tells it so far; without controls where only its message has been printed.
    struct Printed {
        std::vector<std::string> lines;
        std::vector<std::uint64_t> controls;
    };

    bool show(const Rows& rows, bool working);
    void answer(const Rows& rows);
    void takeLine();
    void prompt();
    void perform(const std::string& line);
    void print(const std::vector<std::string>& lines);

    const Terminal& terminal_;
    const int columns_;
    LineInput input_;
    State state_ = State::hidden;
    Prompt prompt_ = Prompt::neverShown;
    Printed printed_;
    sheet::Changes changes_;
    sheet::Attempt attempt_;
};

}  // namespace tobrel::terminal
