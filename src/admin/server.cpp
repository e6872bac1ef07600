#include <sys/stat.h>

#include <boost/url/parse.hpp>
#include <cerrno>

#include "admin/compose.h"
#include "admin/settings_text.h"
#include "admin/subcommand.h"
#include "platform/files.h"
#include "state/paths.h"
#include "text/harmless_text.h"
#include "text/url.h"

namespace tobrel::admin {

namespace {

constexpr std::size_t largestFile = std::size_t{1024} * 1024;

// Why the address cannot be a server's, or nothing.
std::optional<std::string> objection(const std::string& address) {
    auto parsed = boost::urls::parse_uri(address);
    if (!URL::parse(address) || !parsed) return "is no web address; it should look like https://tobrel.example";
    if (parsed->scheme_id() != boost::urls::scheme::http && parsed->scheme_id() != boost::urls::scheme::https)
        return "begins with neither https:// nor http://";
    if (!parsed->has_authority() || parsed->encoded_host().empty()) return "names no server";
    if (parsed->has_query() || parsed->has_fragment()) return "may hold no “?” and no “#”";
    return std::nullopt;
}

bool exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

int write(Files& files, const std::string& address) {
    const std::string path = Paths::in("config.json");
    const std::string folder = path.substr(0, path.rfind('/'));
    auto lock = files.createFolder(folder, 0700) ? files.lock(path) : nullptr;
    if (!lock) return failed("The folder " + inQuotes(folder) + " cannot be written.");
    auto content = exists(path) ? readWhole(files, path, largestFile) : "";
    if (!content) return failed(inQuotes(path) + " is no file that can be read; remove it and try again.");
    auto changed = withTextMember(*content, "server", address);
    if (!changed) return failed(inQuotes(path) + " holds no JSON object; correct or remove it and try again.");
    auto replacement = files.replace(path);
    if (!replacement || !replacement->write(*changed) || !replacement->commit())
        return failed(inQuotes(path) + " cannot be written.");
    return 0;
}

}  // namespace

int runServer(const Invocation& invocation) {
    if (invocation.json) return misused("server does not take --json");
    if (invocation.words.size() != 1) return misused("the usage is: tobrel-admin server URL");
    const std::string& address = invocation.words[0];
    if (auto why = objection(address)) return failed("The address " + inQuotes(address) + " " + *why + ".");
    Composition composition(invocation);
    return write(composition.files(), address);
}

}  // namespace tobrel::admin
