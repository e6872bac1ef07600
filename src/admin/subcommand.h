#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tobrel::admin {

// One call of tobrel-admin, its options already read.
struct Invocation {
    // The folder that takes the place of the user's home, made absolute.
    std::optional<std::string> home;
    bool json = false;
    std::string account;
    std::string store;
    // What stands behind the subcommand's name.
    std::vector<std::string> words;
};

// Each returns the exit status: 0 done, 1 could not (one line on standard error, nothing changed), 2 wrong usage.
int runDomain(const Invocation& invocation);
int runItem(const Invocation& invocation);
int runPins(const Invocation& invocation);
int runServer(const Invocation& invocation);
int runKey(const Invocation& invocation);
int runDoctor(const Invocation& invocation);

// Prints the sentence as one line on standard error and returns 1, or 2 for wrong usage.
int failed(const std::string& sentence);
int misused(const std::string& sentence);
// The usage error for a word that is none of the known ones; names the nearest of them.
int noSuchWord(const std::string& kind, const std::string& word, const std::vector<std::string>& known);

// What follows a subcommand that has several, as in `domain add ID DIR`.
struct Verb {
    std::string name;
    // What the words behind it are called.
    std::vector<std::string> operands;
    bool takesJson = false;
    std::function<int()> run;
};
// Runs the verb that the first word names, when its operands are all there.
int runVerb(const std::string& subcommand, const Invocation& invocation, const std::vector<Verb>& verbs);

}  // namespace tobrel::admin
