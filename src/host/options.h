#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "frontends/batch/task.h"

namespace tobrel::host {

enum class FrontEndKind { automatic, gtk, terminal, json, batch };
enum class LogDestination { automatic, standardError, journal, none };

struct Options {
    std::string actionIdentifier;
    // As given: paths, file URIs and id:IDENTIFIER words, still without those of the itemsFrom files.
    std::vector<std::string> items;
    std::vector<std::string> itemsFrom;
    bool itemsEndWithNul = false;
    std::optional<std::string> domain;
    // Absolute.
    std::optional<std::string> home;
    FrontEndKind frontEnd = FrontEndKind::automatic;
    LogDestination log = LogDestination::automatic;
    // With the batch front end: what it is to do, and whether the result is written as JSON.
    batch::Task task;
    bool json = false;
};

// help, --help or --version: what to print on standard output.
struct Information {
    std::string text;
};

struct UsageError {
    std::string sentence;
};

std::variant<Options, Information, UsageError> parseOptions(int count, char* const words[]);

}  // namespace tobrel::host
