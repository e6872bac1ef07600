#pragma once

#include <string>
#include <utility>
#include <variant>

namespace tobrel {

// Why something could not be done: one line for people.
struct Failure {
    std::string sentence;
};

struct Done {};

// What a call gives, or why it could not.
template <class Value>
class Outcome {
public:
    Outcome(Value value) : content_(std::in_place_index<0>, std::move(value)) {}
    Outcome(Failure failure) : content_(std::in_place_index<1>, std::move(failure)) {}

    explicit operator bool() const { return content_.index() == 0; }
    Value& operator*() { return std::get<0>(content_); }
    const Value& operator*() const { return std::get<0>(content_); }
    Value* operator->() { return &std::get<0>(content_); }
    const Value* operator->() const { return &std::get<0>(content_); }
    const Failure& failure() const { return std::get<1>(content_); }

private:
    std::variant<Value, Failure> content_;
};

}  // namespace tobrel
