#include "devserver/options.h"

#include <getopt.h>

#include <charconv>

namespace tobrel::devserver {

namespace {

constexpr const char* usage =
    R"(Usage: tobrel-devserver --storage DIR --user EMAIL=KEY [OPTION]...

A small Tobrel server for demo, tests and benchmarks. It listens on 127.0.0.1 only and prints one line,
"listening on http://127.0.0.1:PORT", when it is ready.

      --storage DIR        the files: one folder in DIR for each user, named by e-mail address
      --user EMAIL=KEY     a user and the API key; may be given several times
      --database FILE      keep grants and share links in FILE (default: in memory)
      --port PORT          0, the default, takes a free one
      --web-user EMAIL     who is signed in to the file browser at /tobrel/account/files
                           at first; the page lets its reader choose any user
      --log FILE           append one line a request to FILE (default: standard error):
                           METHOD TARGET STATUS USER BODY, never the key
      --list-items EMAIL   print what this user sees, an IDENTIFIER<TAB>PATH a line, and end
      --now TIME           start the clock at TIME, "yyyy-MM-dd HH:mm:ss" in UTC
      --latency MS         wait so long before each answer
      --fault 'METHOD PREFIX=STATUS [SENTENCE]'
                           answer such requests with STATUS and the error SENTENCE; METHOD may be *
      --stall PREFIX       do not answer requests whose target begins with PREFIX
      --help               print this text

Exit status: 0 ended by SIGTERM or SIGINT, 1 could not run, 2 wrong usage.
)";

std::optional<int> numberIn(std::string_view text, int lowest, int highest) {
    int number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && lowest <= number && number <= highest ? std::optional(number) : std::nullopt;
}

std::optional<Account> accountIn(const std::string& text) {
    auto sign = text.find('=');
    if (sign == std::string::npos || sign + 1 == text.size()) return std::nullopt;
    Account account{text.substr(0, sign), text.substr(sign + 1)};
    // The address is the name of a folder as well.
    bool usable = account.email.find('@') != std::string::npos && account.email.find('/') == std::string::npos;
    return usable ? std::optional(account) : std::nullopt;
}

std::optional<UsageError> read(int letter, const std::string& text, Options& options) {
    auto wrong = [&](const std::string& what) { return UsageError{what + ", not \"" + text + "\""}; };
    switch (letter) {
        case 's':
            options.storage = text;
            return std::nullopt;
        case 'u': {
            auto account = accountIn(text);
            if (!account) return UsageError{"--user takes EMAIL=KEY"};
            Accounts known(options.accounts);
            if (known.withEmail(account->email) || known.withKey(account->key))
                return UsageError{"two --user have one address or one key: " + account->email};
            options.accounts.push_back(*account);
            return std::nullopt;
        }
        case 'd':
            options.database = text;
            return std::nullopt;
        case 'p': {
            auto port = numberIn(text, 0, 65535);
            if (!port) return wrong("--port takes a number from 0 to 65535");
            options.port = *port;
            return std::nullopt;
        }
        case 'w':
            options.webUser = text;
            return std::nullopt;
        case 'l':
            options.log = text;
            return std::nullopt;
        case 'i':
            options.listItems = text;
            return std::nullopt;
        case 'n':
            options.now = instantOf(text);
            if (!options.now) return wrong("--now takes a time as in \"2030-01-15 12:00:00\"");
            return std::nullopt;
        case 'L': {
            auto milliseconds = numberIn(text, 0, 600000);
            if (!milliseconds) return wrong("--latency takes milliseconds, 600000 at most");
            options.latency = std::chrono::milliseconds(*milliseconds);
            return std::nullopt;
        }
        case 'f': {
            auto fault = faultIn(text);
            if (!fault) return wrong("--fault takes 'METHOD PREFIX=STATUS'");
            options.faults.push_back(*fault);
            return std::nullopt;
        }
        default:
            options.stalls.push_back(text);
            return std::nullopt;
    }
}

}  // namespace

std::optional<Fault> faultIn(const std::string& text) {
    auto blank = text.find(' ');
    if (blank == std::string::npos) return std::nullopt;
    // The prefix may hold a "=" of its own, as in "?id=": the last one that a status follows counts.
    for (auto sign = text.rfind('='); sign != std::string::npos && sign > blank; sign = text.rfind('=', sign - 1)) {
        auto status = numberIn(text.substr(sign + 1, 3), 200, 599);
        if (!status || (sign + 4 < text.size() && text[sign + 4] != ' ')) continue;
        std::string sentence = sign + 5 < text.size() ? text.substr(sign + 5) : "";
        return Fault{text.substr(0, blank), text.substr(blank + 1, sign - blank - 1), *status, sentence};
    }
    return std::nullopt;
}

std::variant<Options, Information, UsageError> parseOptions(int count, char* words[]) {
    static constexpr option longOptions[] = {
        {"storage", required_argument, nullptr, 's'},
        {"user", required_argument, nullptr, 'u'},
        {"database", required_argument, nullptr, 'd'},
        {"port", required_argument, nullptr, 'p'},
        {"web-user", required_argument, nullptr, 'w'},
        {"log", required_argument, nullptr, 'l'},
        {"list-items", required_argument, nullptr, 'i'},
        {"now", required_argument, nullptr, 'n'},
        {"latency", required_argument, nullptr, 'L'},
        {"fault", required_argument, nullptr, 'f'},
        {"stall", required_argument, nullptr, 'S'},
        {"help", no_argument, nullptr, 'H'},
        {nullptr, 0, nullptr, 0},
    };
    Options options;
    // ":": getopt prints nothing itself.
    for (int letter; (letter = getopt_long(count, words, ":", longOptions, nullptr)) != -1;) {
        if (letter == 'H') return Information{usage};
        if (letter == ':') return UsageError{std::string(words[optind - 1]) + " needs a value"};
        if (letter == '?') return UsageError{std::string("there is no option ") + words[optind - 1]};
        if (auto error = read(letter, optarg, options)) return *error;
    }
    if (optind < count) return UsageError{std::string("unexpected word \"") + words[optind] + "\""};
    if (options.storage.empty() || options.accounts.empty())
        return UsageError{"--storage and at least one --user are needed; see tobrel-devserver --help"};
    for (const std::string& email : {options.webUser, options.listItems})
        if (!email.empty() && !Accounts(options.accounts).withEmail(email))
            return UsageError{"there is no --user " + email};
    return options;
}

}  // namespace tobrel::devserver
