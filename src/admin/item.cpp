#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "admin/listing.h"
#include "admin/subcommand.h"
#include "platform/linux/data_folder.h"
#include "platform/linux/file_provider/registry.h"
#include "platform/linux/user_database_posix.h"
#include "text/harmless_text.h"

namespace tobrel::admin {

namespace {

// Runs one change of a domain's items and makes it last.
int edit(FileProviderRegistry& registry, const std::string& domain,
         const std::function<Outcome<Done>(FileProviderRegistry::ItemEdit&)>& change) {
    auto edit = registry.editItems(domain);
    if (!edit) return failed(edit.failure().sentence);
    auto done = change(**edit);
    if (done) done = (*edit)->commit();
    return done ? 0 : failed(done.failure().sentence);
}

Outcome<Done> addLines(FileProviderRegistry::ItemEdit& edit, std::string_view lines) {
    for (std::size_t number = 1; !lines.empty(); ++number) {
        std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        std::size_t tab = line.find('\t');
        auto added = tab == line.npos ? Failure{inQuotes(line) + " is not ITEM, a tab and PATH."}
                                      : edit.add(line.substr(0, tab), line.substr(tab + 1));
        if (!added) return Failure{"Line " + std::to_string(number) + ": " + added.failure().sentence};
    }
    return Done{};
}

// All input before the first change, because nobody else can write to the registry during one.
int import(FileProviderRegistry& registry, const std::string& domain) {
    std::string lines;
    char buffer[64 * 1024];
    ssize_t count;
    while ((count = read(STDIN_FILENO, buffer, sizeof buffer)) != 0) {
        if (count > 0)
            lines.append(buffer, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return failed(std::string("standard input cannot be read: ") + std::strerror(errno));
    }
    return edit(registry, domain, [&](auto& edit) { return addLines(edit, lines); });
}

int list(FileProviderRegistry& registry, const std::string& identifier, bool json) {
    auto snapshot = registry.read();
    if (!snapshot) return failed(snapshot.failure().sentence);
    const RegisteredDomain* domain = (*snapshot)->domain(identifier);
    if (!domain) return failed("There is no domain " + inQuotes(identifier) + ".");
    auto listed = (*snapshot)->listItems(*domain, [&](std::string_view item, std::string_view path) {
        std::string line = json ? "{\"item\":" + jsonString(item) + ",\"path\":" + jsonString(path) + "}\n"
                                : plainField(item) + "\t" + plainField(path) + "\n";
        return std::fwrite(line.data(), 1, line.size(), stdout) == line.size();
    });
    return listed ? 0 : failed(listed.failure().sentence);
}

}  // namespace

int runItem(const Invocation& invocation) {
    PosixUserDatabase users(invocation.home);
    FileProviderRegistry registry(dataFolder(users));
    const auto& words = invocation.words;
    auto add = [&] { return edit(registry, words[1], [&](auto& edit) { return edit.add(words[2], words[3]); }); };
    auto remove = [&] { return edit(registry, words[1], [&](auto& edit) { return edit.remove(words[2]); }); };
    return runVerb("item", invocation,
                   {{"add", {"DOMAIN", "ITEM", "PATH"}, false, add},
                    {"remove", {"DOMAIN", "ITEM"}, false, remove},
                    {"list", {"DOMAIN"}, true, [&] { return list(registry, words[1], invocation.json); }},
                    {"import", {"DOMAIN"}, false, [&] { return import(registry, words[1]); }}});
}

}  // namespace tobrel::admin
