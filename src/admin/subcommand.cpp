#include "admin/subcommand.h"

#include <algorithm>
#include <cstdio>

#include "text/harmless_text.h"
#include "text/nearest_word.h"

namespace tobrel::admin {

namespace {

int sayAndReturn(int status, const std::string& sentence) {
    std::fflush(stdout);
    std::fprintf(stderr, "tobrel-admin: %s\n", harmless(sentence).c_str());
    return status;
}

}  // namespace

int failed(const std::string& sentence) {
    return sayAndReturn(1, sentence);
}

int misused(const std::string& sentence) {
    return sayAndReturn(2, sentence);
}

int noSuchWord(const std::string& kind, const std::string& word, const std::vector<std::string>& known) {
    auto nearest = nearestWord(word, known);
    return misused("there is no " + kind + " " + inQuotes(word) +
                   (nearest ? "; did you mean " + *nearest + "?" : "; see tobrel-admin --help"));
}

int runVerb(const std::string& subcommand, const Invocation& invocation, const std::vector<Verb>& verbs) {
    std::vector<std::string> known(verbs.size());
    std::transform(verbs.begin(), verbs.end(), known.begin(), [](const Verb& verb) { return verb.name; });
    if (invocation.words.empty()) return misused(subcommand + " needs a further word; see tobrel-admin --help");
    auto verb = std::find_if(verbs.begin(), verbs.end(), [&](auto& verb) { return verb.name == invocation.words[0]; });
    if (verb == verbs.end()) return noSuchWord(subcommand + " subcommand", invocation.words[0], known);

    std::string usage = "tobrel-admin " + subcommand + " " + verb->name;
    if (invocation.json && !verb->takesJson) return misused(usage + " does not take --json");
    for (const std::string& operand : verb->operands) usage += " " + operand;
    if (invocation.words.size() != 1 + verb->operands.size()) return misused("the usage is: " + usage);
    return verb->run();
}

}  // namespace tobrel::admin
