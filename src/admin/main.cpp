#include <getopt.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "admin/subcommand.h"
#include "text/harmless_text.h"
#include "text/path.h"

using namespace tobrel;
using namespace tobrel::admin;

namespace {

constexpr const char* usage =
    R"(Usage: tobrel-admin SUBCOMMAND [OPTION]... [WORD]...

Sets up what the file actions need, and looks after it.

  domain add ID DIR             register the folder DIR as the root of the domain ID
  domain remove ID              forget a domain and all its items
  domain list                   the domains, in the order in which they were added
  item add DOMAIN ITEM PATH     PATH (relative to the root, or absolute) is the item ITEM
  item remove DOMAIN ITEM       forget an item
  item list DOMAIN              the domain's items
  item import DOMAIN            add ITEM<TAB>PATH lines from standard input, all or none
  server URL                    set the server's address
  key set | delete | status     store the API key read from standard input, or look after it (status 1: there is none)
  pins                          the queue of pin requests, oldest first
  pins take                     print the queue as pins --json does, and empty it
  doctor                        check the installation and say what to do

Options:
      --home DIR        use DIR in place of the home folder, and nothing outside it
      --json            lists, key status and doctor: one JSON object a line
      --account NAME    key set only: the keychain item's account
      --store WHERE     key set only: keychain (the Secret Service) or file; else the first where there is one
      --help            print this text
      --version         print the version

Words that begin with a dash go behind "--". Exit status: 0 done, 1 could not, 2 wrong usage.
)";

struct Subcommand {
    const char* name;
    int (*run)(const Invocation&);
};

constexpr Subcommand subcommands[] = {{"domain", runDomain}, {"item", runItem}, {"server", runServer},
                                      {"key", runKey},       {"pins", runPins}, {"doctor", runDoctor}};

constexpr option options[] = {
    {"home", required_argument, nullptr, 'h'},
    {"json", no_argument, nullptr, 'j'},
    {"account", required_argument, nullptr, 'a'},
    {"store", required_argument, nullptr, 's'},
    {"help", no_argument, nullptr, 'H'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
};

int unknownOption(std::string word) {
    word.resize(std::min(word.find('='), word.size()));
    return noSuchWord("option", word, {"--home", "--json", "--account", "--store", "--help", "--version"});
}

int runSubcommand(Invocation& invocation) {
    if (invocation.words.empty()) return misused("no subcommand given; see tobrel-admin --help");
    std::string name = invocation.words.front();
    invocation.words.erase(invocation.words.begin());
    std::vector<std::string> known;
    for (const Subcommand& subcommand : subcommands) {
        known.push_back(subcommand.name);
        if (name != subcommand.name) continue;
        if (!invocation.account.empty() && name != "key") return misused(name + " does not take --account");
        if (!invocation.store.empty() && name != "key") return misused(name + " does not take --store");
        int status = subcommand.run(invocation);
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            return failed(std::string("standard output cannot be written: ") + std::strerror(errno));
        return status;
    }
    return noSuchWord("subcommand", name, known);
}

}  // namespace

int main(int count, char* words[]) {
    // A file that may not grow is a failed write, not an end.
    std::signal(SIGXFSZ, SIG_IGN);
    Invocation invocation;
    // "-": words come in their order, as letter 1; ":": getopt prints nothing itself.
    for (int letter; (letter = getopt_long(count, words, "-:", options, nullptr)) != -1;) {
        switch (letter) {
            case 1:
                invocation.words.emplace_back(optarg);
                break;
            case 'h': {
                std::error_code error;
                auto home = std::filesystem::absolute(optarg, error);
                if (error || !*optarg) return misused("--home needs a folder");
                invocation.home = withoutDots(home.native());
                break;
            }
            case 'j':
                invocation.json = true;
                break;
            case 'a':
                invocation.account = optarg;
                break;
            case 's':
                if (!*optarg) return misused("--store takes keychain or file");
                invocation.store = optarg;
                break;
            case 'H':
            case 'V':
                std::fputs(letter == 'H' ? usage : "tobrel-admin " TOBREL_VERSION "\n", stdout);
                return std::fflush(stdout) == 0 ? 0 : failed("standard output cannot be written");
            case ':':
                return misused(std::string(words[optind - 1]) + " needs a value");
            default:
                return unknownOption(words[optind - 1]);
        }
    }
    for (; optind < count; ++optind) invocation.words.emplace_back(words[optind]);
    try {
        return runSubcommand(invocation);
    } catch (const std::runtime_error& obstacle) {
        return failed(obstacle.what());
    }
}
