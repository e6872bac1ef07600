#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

// Cuts what is read into lines. Blank lines are left out; of a line that is too long nothing is kept.
class LineBuffer {
public:
    static constexpr std::size_t longestLine = 1024 * 1024;

    struct Line {
        std::string text;
        bool isTooLong = false;
    };

    void add(std::string_view bytes);
    // No more will come: what is left counts as a line.
    void end();

    bool hasEnded() const { return ended_; }
    bool hasLine() const { return !lines_.empty(); }
    std::optional<Line> next();

private:
    void finishLine();

    std::deque<Line> lines_;
    Line unfinished_;
    bool ended_ = false;
};

}  // namespace tobrel
