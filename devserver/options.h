#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "devserver/accounts.h"
#include "devserver/clock.h"

namespace tobrel::devserver {

// Requests of this method ("*" is any) whose target begins with the prefix are answered by the status at once, with
// the sentence as the error when there is one, else with a body that is no JSON.
struct Fault {
    std::string method;
    std::string prefix;
    int status = 0;
    std::string sentence;
};

// Reads "METHOD PREFIX=STATUS" or "METHOD PREFIX=STATUS SENTENCE".
std::optional<Fault> faultIn(const std::string& text);

struct Options {
    std::string storage;
    std::vector<Account> accounts;
    std::string database = ":memory:";
    std::string webUser;
    // Empty is standard error.
    std::string log;
    std::string listItems;
    int port = 0;
    std::optional<Instant> now;
    std::chrono::milliseconds latency{0};
    std::vector<Fault> faults;
    // Requests whose target begins so are never answered.
    std::vector<std::string> stalls;
};

struct Information {
    std::string text;
};

struct UsageError {
    std::string sentence;
};

std::variant<Options, Information, UsageError> parseOptions(int count, char* words[]);

}  // namespace tobrel::devserver
