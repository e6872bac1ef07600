#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frontends/sheet/rows.h"
#include "frontends/terminal/label_lines.h"
#include "frontends/terminal/mode.h"

namespace tobrel::terminal {

// Prints the sheet as text and takes one line of input at a time, for scripts and for terminals that can do no more.
class LineMode : public Mode {
public:
    explicit LineMode(const Terminal& terminal);
    ~LineMode() override;

    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void beeped() override { refused_ = true; }
    void requestEnded(End end, const std::optional<std::string>& unopened) override;

private:
    bool show(const Rows& rows, bool waiting);
    bool showNoteAlone(const Rows& rows, const Note& note);
    void takeLine();
    void readInput();
    void watch(bool wanted);
    void prompt();
    void perform(const std::string& line);
    void answerSilence(const Rows& rows);
    void print(const std::vector<std::string>& lines);

    const Terminal& terminal_;
    const int columns_;
    bool appeared_ = false;
    bool closed_ = false;
    // An instruction was carried out, and nothing has been printed since.
    bool silent_ = false;
    bool refused_ = false;

    std::string unread_;
    bool inputEnded_ = false;
    bool watching_ = false;
    bool helped_ = false;
    // A person's answer is awaited on the line that the output ends in.
    bool prompted_ = false;

    std::vector<std::string> shown_;
    std::vector<std::uint64_t> shownControls_;
    std::vector<std::string> shownMessage_;
    Note shownNote_;
};

}  // namespace tobrel::terminal
