#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "admin/import_lines.h"
#include "admin/listing.h"
#include "admin/subcommand.h"
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

// All input before the first change, because nobody else can write to the registry during one.
int import(FileProviderRegistry& registry, const std::string& domain) {
    constexpr std::size_t longestLine = std::size_t{64} * 1024, mostBytes = std::size_t{512} * 1024 * 1024;
    std::string lines;
    std::size_t lineBegin = 0;
    char buffer[64 * 1024];
    ssize_t count;
    while ((count = read(STDIN_FILENO, buffer, sizeof buffer)) != 0) {
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return failed(std::string("standard input cannot be read: ") + std::strerror(errno));
        lines.append(buffer, static_cast<std::size_t>(count));
        if (lines.size() > mostBytes) return failed("The input is larger than 512 MiB; import it in parts.");
        for (std::size_t end; (end = lines.find('\n', lineBegin)) != lines.npos && end - lineBegin <= longestLine;)
            lineBegin = end + 1;
        if (lines.size() - lineBegin > longestLine) {
            auto number = std::count(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lineBegin), '\n') + 1;
            return failed("Line " + std::to_string(number) + " is longer than 64 KiB.");
        }
    }
    return edit(registry, domain, [&](auto& edit) { return importLines(edit, lines); });
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
