#include "host/options.h"

#include <getopt.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "dispatch/action_id.h"
#include "host/answers.h"
#include "text/harmless_text.h"
#include "text/nearest_word.h"
#include "text/path.h"

namespace tobrel::host {

namespace {

constexpr const char* usage =
    R"(Usage: tobrel-action COMMAND [OPTION]... [--] ITEM...

Carries out one command of Tobrel on files and folders of a registered domain.

Commands:
  keep                 make the items available offline
  unkeep               make the items online-only
  share                create or copy a share link
  share-with           share a folder with another user
  manage               see and end a folder's sharing, or leave it
  online               open the item in the web interface
  action IDENTIFIER    deliver any action identifier
  help                 print this text

An ITEM is a path, a file:// address, or id:IDENTIFIER.

Options:
      --items-from FILE    read further items from FILE, one a line; - is standard input
  -0, --null               the items of --items-from end in NUL instead of a line break
      --domain ID          the request's domain (default: that of the first path)
      --front-end NAME     gtk, terminal, json or batch
      --home DIR           use DIR in place of the home folder, and nothing outside it
      --log WHERE          stderr, journal or none
      --help               print this text
      --version            print the version

With --front-end batch, which asks nothing and prints the result alone:
      --days N             share: a new link that expires after N days (1 to 3650)
      --no-expiry          share: a new link that does not expire
      --new                share: a new link even where there is a live one
      --email ADDRESS      share-with: the other user (required)
      --role view|edit     share-with: what they may do (view)
      --stop ADDRESS       manage: stop sharing with that user
      --leave              manage: leave a folder that somebody else shared
      --json               the result as one JSON object a line

Examples:
  link=$(tobrel-action share --front-end batch report.pdf) && echo "$link"
  for f in *.pdf; do tobrel-action share --front-end batch "$f" || break; done
  tobrel-action manage --front-end batch --json Projects | jq -r .email
  tobrel-action manage --front-end batch --stop bob@example.org Projects

Exit status: 0 completed, 1 cancelled, 2 wrong usage, 3 an item could not be mapped,
4 the front end cannot run here, 5 (batch only) what was asked for was not done.
)";

struct Command {
    const char* word;
    const char* identifier;
};

constexpr Command commands[] = {
    {"keep", ActionID::keep},     {"unkeep", ActionID::unkeep},
    {"share", ActionID::share},   {"share-with", ActionID::shareWith},
    {"manage", ActionID::manage}, {"online", ActionID::online},
};

constexpr const char* optionWords[] = {"--items-from", "--null", "--domain",  "--front-end",
                                       "--home",       "--log",  "--version", "--help"};

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
    auto nearest = nearestWord(word, known);
    return nearest ? "; did you mean " + *nearest + "?" : "; see tobrel-action --help";
}

class Parser {
public:
    Parser(int count, char* const words[]) : words_(words, words + count) { words_.push_back(nullptr); }

    std::variant<Options, Information, UsageError> parse() {
        static constexpr option longOptions[] = {
            {"items-from", required_argument, nullptr, 'i'},
            {"null", no_argument, nullptr, '0'},
            {"domain", required_argument, nullptr, 'd'},
            {"front-end", required_argument, nullptr, 'f'},
            {"home", required_argument, nullptr, 'h'},
            {"log", required_argument, nullptr, 'l'},
            {"help", no_argument, nullptr, 'H'},
            {"version", no_argument, nullptr, 'V'},
            {"days", required_argument, nullptr, firstAnswer + 0},
            {"no-expiry", no_argument, nullptr, firstAnswer + 1},
            {"new", no_argument, nullptr, firstAnswer + 2},
            {"email", required_argument, nullptr, firstAnswer + 3},
            {"role", required_argument, nullptr, firstAnswer + 4},
            {"stop", required_argument, nullptr, firstAnswer + 5},
            {"leave", no_argument, nullptr, firstAnswer + 6},
            {"json", no_argument, nullptr, firstAnswer + 7},
            {nullptr, 0, nullptr, 0},
        };
        // "-": words come in their order, as letter 1; ":": getopt prints nothing itself.
        optind = 0;
        for (int letter; (letter = getopt_long(count(), words_.data(), "-:0", longOptions, nullptr)) != -1;) {
            if (auto end = letter == 1 ? readWord(optarg) : readOption(letter)) return *std::move(end);
            next_ = optind;
        }
        while (optind < count())
            if (auto end = readWord(words_[optind++])) return *std::move(end);

        if (!commandRead_) return UsageError{"no command given; see tobrel-action --help"};
        if (options_.home && options_.log == LogDestination::journal)
            return UsageError{"--log journal asks a service outside of --home's folder; leave one of them out"};
        if (options_.itemsEndWithNul && options_.itemsFrom.empty()) return UsageError{"-0 goes with --items-from"};
        if (auto error = readAnswers()) return *error;
        return std::move(options_);
    }

private:
    // The letters of the options that answer a form, in the order of answerOptions.
    static constexpr int firstAnswer = 256;

    using End = std::variant<Options, Information, UsageError>;

    int count() const { return static_cast<int>(words_.size()) - 1; }

    std::optional<End> readWord(const char* word) {
        if (commandRead_) {
            options_.items.emplace_back(word);
            return std::nullopt;
        }
        commandRead_ = true;
        return readCommand(word);
    }

    std::optional<End> readCommand(const std::string& word) {
        if (word == "action") {
            if (optind == count()) return UsageError{"action needs an identifier"};
            options_.actionIdentifier = words_[optind++];
            return std::nullopt;
        }
        if (word == "help") return Information{usage};
        std::vector<std::string> known{"action", "help"};
        for (const auto& command : commands) {
            if (word == command.word) {
                options_.actionIdentifier = command.identifier;
                return std::nullopt;
            }
            known.emplace_back(command.word);
        }
        return UsageError{"there is no command " + inQuotes(word) + suggestion(word, known)};
    }

    std::optional<End> readOption(int letter) {
        switch (letter) {
            case 'i':
                options_.itemsFrom.emplace_back(optarg);
                return std::nullopt;
            case '0':
                options_.itemsEndWithNul = true;
                return std::nullopt;
            case 'd':
                options_.domain = optarg;
                return std::nullopt;
            case 'h':
                return readHome(optarg);
            case 'f':
                return choose("--front-end", optarg,
                              {{"gtk", FrontEndKind::gtk},
                               {"terminal", FrontEndKind::terminal},
                               {"json", FrontEndKind::json},
                               {"batch", FrontEndKind::batch}},
                              options_.frontEnd);
            case 'l':
                return choose("--log", optarg,
                              {{"stderr", LogDestination::standardError},
                               {"journal", LogDestination::journal},
                               {"none", LogDestination::none}},
                              options_.log);
            case 'H':
                return Information{usage};
            case 'V':
                return Information{"tobrel-action " TOBREL_VERSION "\n"};
            case ':':
                return UsageError{inQuotes(words_[optind - 1]) + " needs a value"};
            default:
                if (letter >= firstAnswer) {
                    answers_[answerOptions[letter - firstAnswer].word] = optarg ? optarg : "";
                    return std::nullopt;
                }
                return unknownOption(words_[static_cast<std::size_t>(next_)]);
        }
    }

    template <class Value>
    static std::optional<End> choose(const std::string& option, const std::string& word,
                                     const std::map<std::string, Value>& choices, Value& chosen) {
        if (auto choice = choices.find(word); choice != choices.end()) {
            chosen = choice->second;
            return std::nullopt;
        }
        std::vector<std::string> known;
        for (const auto& choice : choices) known.push_back(choice.first);
        return UsageError{option + " does not take " + inQuotes(word) + suggestion(word, known)};
    }

    std::optional<End> readHome(const std::string& folder) {
        if (folder.empty()) return UsageError{"--home needs a folder"};
        std::error_code error;
        auto absolute = std::filesystem::absolute(folder, error);
        if (error) return UsageError{"--home " + inQuotes(folder) + ": the current folder no longer exists"};
        options_.home = withoutDots(absolute.native());
        return std::nullopt;
    }

    std::optional<UsageError> readAnswers() {
        if (options_.frontEnd != FrontEndKind::batch) {
            if (answers_.empty()) return std::nullopt;
            return UsageError{answers_.begin()->first + " goes with --front-end batch"};
        }
        options_.json = answers_.contains("--json");
        auto task = taskFor(options_.actionIdentifier, answers_);
        if (auto* sentence = std::get_if<std::string>(&task)) return UsageError{*sentence};
        options_.task = std::get<batch::Task>(std::move(task));
        return std::nullopt;
    }

    static UsageError unknownOption(std::string word) {
        if (!word.starts_with("--"))
            return UsageError{"there is no option " + inQuotes(word) +
                              "; items that begin with a dash go behind \"--\""};
        word = word.substr(0, word.find('='));
        std::vector<std::string> known(std::begin(optionWords), std::end(optionWords));
        for (auto& option : answerOptions) known.emplace_back(option.word);
        return UsageError{"there is no option " + inQuotes(word) + suggestion(word, known)};
    }

    std::vector<char*> words_;
    Options options_;
    AnswerOptions answers_;
    bool commandRead_ = false;
    // The word that getopt looks at next; of several letters in one word it does not tell which word that was.
    int next_ = 1;
};

}  // namespace

std::variant<Options, Information, UsageError> parseOptions(int count, char* const words[]) {
    return Parser(count, words).parse();
}

}  // namespace tobrel::host
