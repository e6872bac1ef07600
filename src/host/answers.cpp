#include "host/answers.h"

#include <charconv>
#include <optional>

#include "dispatch/action_id.h"
#include "text/harmless_text.h"

namespace tobrel::host {

const AnswerOption answerOptions[8] = {
    {"--days", true, ActionID::share, "share"},          {"--no-expiry", false, ActionID::share, "share"},
    {"--new", false, ActionID::share, "share"},          {"--email", true, ActionID::shareWith, "share-with"},
    {"--role", true, ActionID::shareWith, "share-with"}, {"--stop", true, ActionID::manage, "manage"},
    {"--leave", false, ActionID::manage, "manage"},      {"--json", false, nullptr, nullptr},
};

namespace {

using Answer = std::variant<batch::Task, std::string>;

std::optional<std::string> valueOf(const AnswerOptions& given, const std::string& word) {
    auto found = given.find(word);
    return found == given.end() ? std::nullopt : std::optional(found->second);
}

bool isDays(std::string_view text) {
    constexpr int most = 3650;
    if (text.starts_with('+')) text.remove_prefix(1);
    int days = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    return error == std::errc() && end == text.data() + text.size() && days >= 1 && days <= most;
}

Answer shareLink(const AnswerOptions& given) {
    batch::ShareLink task{valueOf(given, "--days"), given.contains("--no-expiry"), given.contains("--new")};
    if (task.days && task.withoutExpiry) return "--days and --no-expiry exclude each other";
    if (task.days && !isDays(*task.days))
        return "--days takes a whole number from 1 to 3650, not " + inQuotes(*task.days);
    return task;
}

Answer shareWith(const AnswerOptions& given) {
    auto email = valueOf(given, "--email");
    if (!email) return "share-with needs --email ADDRESS with --front-end batch";
    if (email->find('@') == email->npos) return "--email takes an address with an @, not " + inQuotes(*email);
    std::string role = valueOf(given, "--role").value_or("view");
    if (role != "view" && role != "edit") return "--role takes view or edit, not " + inQuotes(role);
    return batch::ShareWith{*email, role == "edit"};
}

Answer manage(const AnswerOptions& given) {
    auto stop = valueOf(given, "--stop");
    bool leave = given.contains("--leave");
    if (stop && leave) return "--stop and --leave exclude each other";
    if (stop && stop->empty()) return "--stop needs an address";
    if (stop) return batch::StopSharing{*stop};
    if (leave) return batch::Leave{};
    return batch::ListSharing{};
}

}  // namespace

Answer taskFor(const std::string& actionIdentifier, const AnswerOptions& given) {
    for (auto& option : answerOptions)
        if (option.actionIdentifier && given.contains(option.word) && actionIdentifier != option.actionIdentifier)
            return std::string(option.word) + " goes with " + option.command;
    if (actionIdentifier == ActionID::share) return shareLink(given);
    if (actionIdentifier == ActionID::shareWith) return shareWith(given);
    if (actionIdentifier == ActionID::manage) return manage(given);
    if (actionIdentifier == ActionID::online) return batch::OpenPage{};
    return batch::NoQuestion{};
}

}  // namespace tobrel::host
