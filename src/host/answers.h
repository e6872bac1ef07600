#pragma once

#include <map>
#include <string>
#include <variant>

#include "frontends/batch/task.h"

namespace tobrel::host {

// The options that answer a sheet's form on the command line ("--days", ...), each with its value, or "" for none.
using AnswerOptions = std::map<std::string, std::string>;

struct AnswerOption {
    const char* word;
    bool takesValue;
    // The command that asks, and its word; null: every one.
    const char* actionIdentifier;
    const char* command;
};
extern const AnswerOption answerOptions[8];

// What the options ask of the command, or in a sentence why they cannot.
std::variant<batch::Task, std::string> taskFor(const std::string& actionIdentifier, const AnswerOptions& given);

}  // namespace tobrel::host
