#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tobrel {

// Cuts what is read into lines. Blank lines are left out; of a line that is too long nothing is kept.
class LineBuffer {
public:
    struct Line {
        std::string text;
        bool isTooLong = false;
    };

    void add(std::string_view bytes);
    // No more will come: what is left counts as a line.
    void end();

    bool hasEnded() const { return ended_; }
    bool hasLine() const { return !lines_.empty(); }
    // Bytes of the lines at hand.
    std::size_t size() const { return size_; }
    std::optional<Line> next();

private:
    void finishLine();

    std::deque<Line> lines_;
    std::size_t size_ = 0;
    Line unfinished_;
    bool ended_ = false;
};

namespace instruction {

// By exactly one of the two.
struct Click {
    std::optional<std::string> title;
    std::optional<std::int64_t> id;
};

struct Type {
    std::int64_t id = 0;
    std::string text;
};

struct Select {
    std::int64_t id = 0;
    std::int64_t index = 0;
};

struct Key {
    std::string key;
};

// For exactly one of the two: a button's title, or a part of a label's text.
struct Wait {
    std::optional<std::string> title;
    std::optional<std::string> text;
    std::optional<std::chrono::milliseconds> limit;
};

struct Close {};

}  // namespace instruction

using Instruction = std::variant<instruction::Click, instruction::Type, instruction::Select, instruction::Key,
                                 instruction::Wait, instruction::Close>;

// Why an instruction cannot be carried out, in a sentence.
struct Refusal {
    std::string message;
};

std::variant<Instruction, Refusal> parseInstruction(std::string_view line);

}  // namespace tobrel
