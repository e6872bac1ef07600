#include <sys/stat.h>

#include <algorithm>
#include <boost/url/parse.hpp>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>

#include "admin/checks.h"
#include "admin/compose.h"
#include "admin/settings_text.h"
#include "admin/subcommand.h"
#include "platform/files.h"
#include "platform/linux_online/text_linux.h"
#include "state/paths.h"
#include "text/harmless_text.h"
#include "text/url.h"

namespace tobrel::admin {

namespace {

// Between "://" and the path.
std::string_view authorityOf(std::string_view address) {
    std::size_t start = address.find("://");
    if (start == address.npos) return {};
    std::string_view rest = address.substr(start + 3);
    return rest.substr(0, rest.find_first_of("/?#"));
}

// With the host's name in the form that stands in an address; nothing where it can be no host's name.
std::optional<std::string> withAsciiHost(const std::string& address) {
    std::string_view authority = authorityOf(address);
    std::string_view host = authority.substr(0, authority.find(':'));
    if (host.empty() || authority.find_first_of("@[%") != authority.npos) return address;
    auto ascii = asciiHost(host);
    if (!ascii) return std::nullopt;
    return std::string(address).replace(address.find("://") + 3, host.size(), *ascii);
}

// Why the address cannot be a server's, or nothing.
std::optional<std::string> objection(const std::string& address) {
    auto parsed = boost::urls::parse_uri(address);
    if (!URL::parse(address) || !parsed) return "is not a web address; it should look like https://tobrel.example";
    if (parsed->scheme_id() != boost::urls::scheme::http && parsed->scheme_id() != boost::urls::scheme::https)
        return "begins with neither https:// nor http://";
    if (!parsed->has_authority() || parsed->encoded_host().empty()) return "names no server";
    if (parsed->has_userinfo()) return "may hold no user name and no password";
    if (parsed->encoded_host().find('%') != parsed->encoded_host().npos) return "names no server";
    // The library lets more than a port stand behind a host.
    std::string_view authority = authorityOf(address);
    std::size_t host = authority.starts_with('[') ? authority.find(']') + 1 : authority.find(':');
    std::string_view behindHost = authority.substr(std::min(host, authority.size()));
    unsigned port = 1;
    const char* end = behindHost.data() + behindHost.size();
    if (behindHost.size() > 1 && std::from_chars(behindHost.data() + 1, end, port).ptr != end) port = 0;
    if ((!behindHost.empty() && behindHost[0] != ':') || port == 0 || port > 65535) return "has an impossible port";
    if (parsed->has_query() || parsed->has_fragment()) return "may hold no “?” and no “#”";
    return std::nullopt;
}

bool exists(const std::string& path) {
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

// The file itself, where the path is a symbolic link.
std::string followed(std::filesystem::path path) {
    constexpr int mostLinks = 40;
    std::error_code error;
    for (int links = 0; links < mostLinks && std::filesystem::is_symlink(path, error); ++links)
        path = path.parent_path() / std::filesystem::read_symlink(path, error);
    return path.native();
}

std::string reason(int error) {
    return error == ENOSPC || error == EDQUOT ? "the disk is full" : std::strerror(error);
}

int write(Files& files, const std::string& address) {
    const std::string path = followed(Paths::in("config.json"));
    const std::string folder = path.substr(0, path.rfind('/'));
    FileTrust trust = files.trust(Paths::in("config.json"));
    if (!trust.isTheUsers()) {
        Distrust why = distrust(trust);
        return failed("The address would not be used: " + why.what + ". To mend that: " + why.wayOut);
    }
    auto lock = files.createFolder(folder, 0700) ? files.lock(path) : nullptr;
    if (!lock) return failed("The folder " + inQuotes(folder) + " cannot be written.");
    auto content = exists(path) ? readWhole(files, path, largestSettings) : "";
    if (!content) return failed(inQuotes(path) + " cannot be read; remove it and try again.");
    auto changed = withTextMember(*content, "server", address);
    if (!changed) return failed(inQuotes(path) + " holds no JSON object; correct or remove it and try again.");
    auto replacement = files.replace(path);
    if (replacement && replacement->write(*changed) && replacement->commit()) return 0;
    const std::string why = reason(errno);
    return failed(inQuotes(path) + " cannot be written: " + why + ".");
}

}  // namespace

int runServer(const Invocation& invocation) {
    if (invocation.json) return misused("server does not take --json");
    if (invocation.words.size() != 1) return misused("the usage is: tobrel-admin server URL");
    const std::string& given = invocation.words[0];
    auto address = withAsciiHost(given);
    auto why = address ? objection(*address) : "names no possible server";
    if (why) return failed("The address " + inQuotes(given) + " " + *why + ".");
    Composition composition(invocation);
    return write(composition.files(), *address);
}

}  // namespace tobrel::admin
