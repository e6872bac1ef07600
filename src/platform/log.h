#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace tobrel {

enum class OSLogType { info, error };

// Where log lines go. Any thread; never fails and never throws.
class OSLogSink {
public:
    virtual ~OSLogSink() = default;
    virtual void write(OSLogType type, std::string_view subsystem, std::string_view category,
                       std::string_view message) = 0;
};

struct OSLog {
    std::string subsystem;
    std::string category;
};

namespace log_detail {

struct Value {
    Value(std::string_view text) : text(text) {}
    Value(const std::string& text) : text(text) {}
    Value(const char* text) : text(text) {}
    Value(std::integral auto number) : isNumber(true), number(static_cast<long long>(number)) {}

    std::string_view text;
    bool isNumber = false;
    long long number = 0;
};

// Reached only while compiling: not constexpr, so that a call names the mistake in the compiler's error.
void formatDoesNotMatchItsArguments();

template <class... Arguments>
consteval void checkFormat(std::string_view format) {
    constexpr bool isNumber[] = {std::integral<std::remove_cvref_t<Arguments>>..., false};
    std::size_t argument = 0;
    for (std::size_t at = format.find('%'); at != format.npos; at = format.find('%', at + 1)) {
        bool text = format.substr(at).starts_with("%{public}@");
        bool number = format.substr(at).starts_with("%d");
        if (!text && !number) formatDoesNotMatchItsArguments();
        if (argument == sizeof...(Arguments) || isNumber[argument] != number) formatDoesNotMatchItsArguments();
        ++argument;
    }
    if (argument != sizeof...(Arguments)) formatDoesNotMatchItsArguments();
}

template <class... Arguments>
struct Format {
    consteval Format(const char* text) : text(text) { checkFormat<Arguments...>(text); }
    const char* text;
};

void write(const OSLog& log, OSLogType type, std::string_view format, const Value* values);

}  // namespace log_detail

// Writes one line to the platform's log sink. The format knows `%{public}@` (text) and `%d` (a whole number) and is
// checked against the arguments while compiling.
template <class... Arguments>
void osLog(const OSLog& log, OSLogType type, log_detail::Format<std::type_identity_t<Arguments>...> format,
           const Arguments&... arguments) {
    const log_detail::Value values[] = {arguments..., log_detail::Value("")};
    log_detail::write(log, type, format.text, values);
}

}  // namespace tobrel
