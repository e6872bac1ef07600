#include "admin/checks.h"

#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "admin/compose.h"
#include "admin/subcommand.h"
#include "platform/files.h"
#include "platform/linux/file_names.h"
#include "platform/linux/file_provider/registry.h"
#include "platform/linux/user_database_posix.h"
#include "platform/user_database.h"
#include "state/paths.h"
#include "state/queue_reader.h"
#include "text/harmless_text.h"
#include "text/json.h"

namespace tobrel::admin {

namespace {

constexpr mode_t forOthers = 077;

bool isWritableFolder(const std::string& path) {
    return access(path.c_str(), R_OK | W_OK | X_OK) == 0;
}

// Why a file of a few kilobytes cannot be written there: an error number. Leaves no trace.
std::optional<int> tryToWrite(const std::string& folder) {
    FileDescriptor file(open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    std::string name;
    if (!file && errno == EOPNOTSUPP) {
        name = folder + "/" + temporaryName(Guard::lock);
        file = FileDescriptor(open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600));
    }
    const std::string content(64 * 1024, '.');
    errno = 0;
    bool written = file && write(file.number(), content.data(), content.size()) == ssize_t(content.size()) &&
                   fsync(file.number()) == 0;
    int error = errno;
    if (file && !name.empty()) unlink(name.c_str());
    if (written) return std::nullopt;
    // Less than all was written.
    return error ? error : ENOSPC;
}

// Ready to be typed.
std::string quoted(const std::string& path) {
    std::string word = "'";
    for (char c : path) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

// A file manager and the menu that goes into it, below a folder for shared data.
struct FileManager {
    const char* program;
    const char* menu;
};
constexpr FileManager fileManagers[] = {
    {"nautilus", "../lib/*/nautilus/extensions-4/libtobrel-nautilus.so"},
    {"nemo", "../lib/*/nemo/extensions-3.0/libtobrel-nemo.so"},
    {"caja", "../lib/*/caja/extensions-2.0/libtobrel-caja.so"},
    {"thunar", "../lib/*/thunarx-3/libtobrel-thunar.so"},
    {"dolphin", "kio/servicemenus/tobrel.desktop"},
};

std::vector<std::string> folders(const char* variable, const char* otherwise) {
    const char* value = std::getenv(variable);
    std::istringstream list(value && *value ? value : otherwise);
    std::vector<std::string> folders;
    for (std::string folder; std::getline(list, folder, ':');) folders.push_back(folder);
    return folders;
}

bool isInstalled(const std::string& program) {
    auto places = folders("PATH", "/usr/local/bin:/usr/bin");
    return std::any_of(places.begin(), places.end(),
                       [&](auto& folder) { return access((folder + "/" + program).c_str(), X_OK) == 0; });
}

bool exists(const std::string& pattern) {
    glob_t found{};
    bool any = glob(pattern.c_str(), GLOB_NOSORT, nullptr, &found) == 0;
    globfree(&found);
    return any;
}

}  // namespace

Distrust distrust(const FileTrust& trust) {
    const std::string place = inQuotes(trust.place);
    if (trust.writers == Writers::anotherUser)
        return {place + " belongs to another user", "give it to the user who runs this: chown"};
    return {(trust.writers == Writers::everybody ? "every user can write " : "a group of users can write ") + place,
            "chmod go-w " + quoted(trust.place)};
}

Finding checkPrivateFolder() {
    const std::string path = Paths::privateFolder();
    const std::string name = inQuotes(path);
    constexpr const char* check = "private folder";
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return {check, name + " does not exist", "make it with: tobrel-admin server URL"};
    if (!S_ISDIR(status.st_mode)) return {check, name + " is not a folder", "move away what lies there"};
    if (status.st_uid != geteuid())
        return {check, name + " belongs to another user", "give it to the user who runs this"};
    if (status.st_mode & forOthers) return {check, "others may look into " + name, "chmod 700 " + quoted(path)};
    if (!isWritableFolder(path)) return {check, name + " cannot be written", "chmod 700 " + quoted(path)};
    if (auto obstacle = tryToWrite(path))
        return *obstacle == ENOSPC || *obstacle == EDQUOT
                   ? Finding{check, "the disk of " + name + " is full", "make room on it"}
                   : Finding{check, name + " takes no new file: " + std::strerror(*obstacle), "see to its disk"};
    return {check, name + " is there, and private", ""};
}

Finding checkSettings(Composition& composition) {
    const std::string path = Paths::in("config.json");
    const std::string name = inQuotes(path);
    constexpr const char* check = "settings";
    constexpr const char* setServer = "set the server's address with: tobrel-admin server URL";
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0 && errno == ENOENT) return {check, name + " does not exist", setServer};
    auto content = readWhole(composition.files(), path, largestSettings);
    const FileTrust trust = composition.files().trust(path);
    const Distrust why = distrust(trust);
    if (!trust.isTheUsers()) return {check, name + " is not used, because " + why.what, why.wayOut};
    if (!content) return {check, name + " cannot be read", "move away what lies there, then: tobrel-admin server URL"};
    if (content->starts_with("\xEF\xBB\xBF")) content->erase(0, 3);
    auto object = json::parseObject(*content);
    if (!object)
        return {check, name + " holds no JSON object", "correct it, or move it away, then: tobrel-admin server URL"};
    for (const char* member : {"server", "api_key"})
        if (auto* value = object->if_contains(member); value && !value->is_string())
            return {check, "“" + std::string(member) + "” in " + name + " is not a text", "correct it, or take it out"};
    if (!object->contains("server")) return {check, name + " names no server", setServer};
    if (object->contains("api_key") && status.st_mode & forOthers)
        return {check, "others can read the API key in " + name, "chmod 600 " + quoted(path)};
    if (trust.writers == Writers::group)
        return {check, name + " could be written by others: " + why.what, why.wayOut, true};
    return {check, name + " is well", ""};
}

std::vector<Finding> checkPinQueue(Composition& composition) {
    constexpr const char* check = "pin queue";
    struct Nothing : QueueVisitor {
        void entryPart(std::string_view, Part) override {}
    } nothing;
    const std::string path = Paths::in("pinned_pending.json");
    std::vector<Finding> findings;
    for (const std::string& kept : keptBeside(path))
        findings.push_back({check, inQuotes(kept) + " holds what could not be read as a queue",
                            "look into it, then: rm " + quoted(kept)});
    struct stat status = {};
    bool exists = lstat(path.c_str(), &status) == 0 || errno != ENOENT;
    auto file = composition.files().open(path);
    if (exists && !(file && readQueue(*file, nothing)))
        findings.push_back({check, inQuotes(path) + " cannot be read as a queue of pin requests",
                            "correct it; otherwise the next pin command sets it aside"});
    if (findings.empty()) findings.push_back({check, exists ? inQuotes(path) + " is well" : "there is none yet", ""});
    return findings;
}

std::vector<Finding> checkDomains(Composition& composition) {
    constexpr const char* check = "domain";
    FileProviderRegistry registry(dataFolder(composition.users()));
    auto snapshot = registry.read();
    if (!snapshot)
        return {{check, snapshot.failure().sentence, "mend that, or remove the registry and add the domains anew"}};
    std::vector<Finding> findings;
    for (const RegisteredDomain& domain : (*snapshot)->domains()) {
        std::string name = inQuotes(domain.identifier) + ": " + inQuotes(domain.root);
        struct stat status = {};
        if (stat(domain.root.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
            findings.push_back({check, name + " is not a folder",
                                "bring it back, or: tobrel-admin domain remove " + quoted(domain.identifier)});
        else if (access(domain.root.c_str(), R_OK | X_OK) != 0)
            findings.push_back({check, name + " cannot be read", "chmod u+rx " + quoted(domain.root)});
        else if (auto items = (*snapshot)->countItems(domain); items && *items == 0)
            findings.push_back({check, name + " is there, but no item in it is registered",
                                "tobrel-admin item add " + quoted(domain.identifier) + " ITEM PATH", true});
        else
            findings.push_back({check, name + " is there", ""});
    }
    if (findings.empty()) return {{check, "none is registered", "tobrel-admin domain add ID DIR"}};
    return findings;
}

std::vector<Finding> checkFileManagers(const Invocation& invocation) {
    constexpr const char* check = "file manager";
    if (invocation.home) return {{check, "not looked at with --home", ""}};
    auto places = folders("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
    const char* own = std::getenv("XDG_DATA_HOME");
    places.push_back(own && *own ? own : Paths::home() + "/.local/share");

    std::vector<Finding> findings;
    for (const FileManager& manager : fileManagers) {
        const std::string name = manager.program;
        if (!isInstalled(name)) continue;
        bool found = std::any_of(places.begin(), places.end(),
                                 [&](const std::string& place) { return exists(place + "/" + manager.menu); });
        if (found)
            findings.push_back({check, name + " has Tobrel's menu", ""});
        else
            findings.push_back({check, name + " lacks Tobrel's menu", "install the package tobrel-actions-" + name});
    }
    if (findings.empty()) return {{check, "none is installed; the commands are there as tobrel-action", ""}};
    return findings;
}

}  // namespace tobrel::admin
