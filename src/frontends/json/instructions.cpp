#include "frontends/json/instructions.h"

#include <algorithm>
#include <boost/json.hpp>
#include <cmath>
#include <utility>
#include <vector>

#include "frontends/sheet/user.h"

namespace tobrel {

namespace json = boost::json;

namespace {

constexpr double longestWait = 1e9;

std::string inQuotes(std::string_view name) {
    return "“" + std::string(name) + "”";
}

std::optional<std::int64_t> wholeNumber(const json::value& value) {
    if (auto* number = value.if_int64()) return *number;
    auto* number = value.if_double();
    bool isWhole = number && std::trunc(*number) == *number && std::abs(*number) < 1e15;
    return isWhole ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
}

std::optional<std::chrono::milliseconds> duration(const json::value& value) {
    if (!value.is_number()) return std::nullopt;
    double seconds = value.to_number<double>();
    if (!(seconds >= 0 && seconds <= longestWait)) return std::nullopt;
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::duration<double>(seconds));
}

std::optional<std::string> text(const json::value& value) {
    auto* string = value.if_string();
    return string ? std::optional(std::string(*string)) : std::nullopt;
}

// The members of one instruction. Remembers the first thing that is wrong with them.
class Members {
public:
    explicit Members(const json::object& object) : object_(object) {}

    std::optional<std::string> optionalText(const char* name) { return read(name, text, "a string"); }
    std::string requiredText(const char* name) { return required(name, optionalText(name)); }
    std::optional<std::int64_t> optionalNumber(const char* name) { return read(name, wholeNumber, "a whole number"); }
    std::int64_t requiredNumber(const char* name) { return required(name, optionalNumber(name)); }
    std::optional<std::chrono::milliseconds> optionalDuration(const char* name) {
        return read(name, duration, "a number of seconds from 0 to 1000000000");
    }

    void expectOne(const char* one, const char* other) {
        if (object_.contains(one) == object_.contains(other))
            fail("It takes either " + inQuotes(one) + " or " + inQuotes(other) + ".");
    }

    void fail(std::string message) {
        if (problem_.empty()) problem_ = std::move(message);
    }

    // Empty: nothing is wrong, and every member has been read.
    std::string problem() {
        for (auto& member : object_)
            if (std::find(read_.begin(), read_.end(), member.key()) == read_.end())
                fail("It takes no " + inQuotes(member.key()) + ".");
        return problem_;
    }

private:
    template <class Value>
    std::optional<Value> read(const char* name, std::optional<Value> (*convert)(const json::value&),
                              const char* expected) {
        read_.push_back(name);
        const json::value* member = object_.if_contains(name);
        if (!member) return std::nullopt;
        std::optional<Value> value = convert(*member);
        if (!value) fail(inQuotes(name) + " must be " + expected + ".");
        return value;
    }

    template <class Value>
    Value required(const char* name, std::optional<Value> value) {
        if (!value) fail("It needs " + inQuotes(name) + ".");
        return value.value_or(Value());
    }

    const json::object& object_;
    std::vector<std::string_view> read_;
    std::string problem_;
};

Instruction read(Members& members) {
    std::string verb = members.requiredText("do");
    if (verb == "click") {
        members.expectOne("title", "id");
        return instruction::Click{members.optionalText("title"), members.optionalNumber("id")};
    }
    if (verb == "type") return instruction::Type{members.requiredNumber("id"), members.requiredText("text")};
    if (verb == "select") return instruction::Select{members.requiredNumber("id"), members.requiredNumber("index")};
    if (verb == "key") return instruction::Key{members.requiredText("key")};
    if (verb == "wait") {
        members.expectOne("title", "text");
        return instruction::Wait{members.optionalText("title"), members.optionalText("text"),
                                 members.optionalDuration("seconds")};
    }
    if (verb != "close") members.fail("“do” must be “click”, “type”, “select”, “key”, “wait” or “close”.");
    return instruction::Close{};
}

}  // namespace

void LineBuffer::add(std::string_view bytes) {
    while (!bytes.empty()) {
        std::size_t end = bytes.find('\n');
        std::string_view piece = bytes.substr(0, end);
        unfinished_.isTooLong |= unfinished_.text.size() + piece.size() > sheet::longestLine;
        if (unfinished_.isTooLong)
            unfinished_.text = {};
        else
            unfinished_.text += piece;
        if (end == bytes.npos) return;
        finishLine();
        bytes.remove_prefix(end + 1);
    }
}

void LineBuffer::end() {
    ended_ = true;
    finishLine();
}

std::optional<LineBuffer::Line> LineBuffer::next() {
    if (lines_.empty()) return std::nullopt;
    Line line = std::move(lines_.front());
    lines_.pop_front();
    size_ -= line.text.size();
    return line;
}

void LineBuffer::finishLine() {
    Line line = std::exchange(unfinished_, {});
    bool isBlank = line.text.find_first_not_of(" \t\r") == line.text.npos;
    if (!line.isTooLong && isBlank) return;
    size_ += line.text.size();
    lines_.push_back(std::move(line));
}

std::variant<Instruction, Refusal> parseInstruction(std::string_view line) {
    json::error_code error;
    json::value value = json::parse(json::string_view(line.data(), line.size()), error);
    if (error || !value.is_object()) return Refusal{"This line is not a JSON object."};
    Members members(value.get_object());
    Instruction instruction = read(members);
    std::string problem = members.problem();
    if (!problem.empty()) return Refusal{"Not a valid instruction: " + problem};
    return instruction;
}

}  // namespace tobrel
