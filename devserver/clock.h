#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace tobrel::devserver {

// An instant in seconds since 1970 in UTC, and its text in answers and options: "2030-01-15 12:00:00".
using Instant = std::int64_t;

std::string textOf(Instant instant);
// Nothing when the whole text is not such an instant.
std::optional<Instant> instantOf(const std::string& text);

// The server's time: the system's, or one that was set when the server started and has run on since.
class Clock {
public:
    explicit Clock(std::optional<Instant> setTo = std::nullopt) : offset_(setTo ? *setTo - std::time(nullptr) : 0) {}
    Instant now() const { return std::time(nullptr) + offset_; }

private:
    std::int64_t offset_;
};

}  // namespace tobrel::devserver
