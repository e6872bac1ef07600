#include "state/pin_file.h"

#include <functional>
#include <memory>

#include "platform/files.h"
#include "platform/platform.h"
#include "state/paths.h"
#include "state/queue_rewriter.h"
#include "state/string_set.h"
#include "text/utf8.h"

namespace tobrel::PinFile {

namespace {

// Two commands at once must not lose each other's entries; but better an entry lost than a command that hangs.
std::unique_ptr<FolderLock> lockWithFolder(Files& files, const std::string& path) {
    files.createFolder(path.substr(0, path.rfind('/')), 0700);
    return files.lock(path);
}

void rewrite(Files& files, const std::string& path, const std::function<void(StringSet&)>& change) {
    StringSet strings = readStringSet(files, path);
    change(strings);
    auto replacement = files.replace(path);
    if (replacement && replacement->write(serialized(strings))) replacement->commit();
}

}  // namespace

void request(const std::vector<std::string>& identifiers, bool pinned) {
    Files& files = platform::current().files;
    const std::string path = Paths::in("pinned_pending.json");
    auto lock = lockWithFolder(files, path);
    auto old = files.open(path);
    auto replacement = files.replace(path);
    if (replacement && appendRequests(old.get(), *replacement, identifiers, pinned)) replacement->commit();
}

void update(const std::vector<std::string>& identifiers, bool pinned) {
    Files& files = platform::current().files;
    const std::string pinnedPath = Paths::in("pinned.json");
    StringSet given;
    for (const std::string& identifier : identifiers) given.insert(wellFormedUtf8(identifier));

    auto lock = lockWithFolder(files, pinnedPath);
    rewrite(files, pinnedPath, [&](StringSet& strings) {
        for (const std::string& identifier : given) {
            if (pinned)
                strings.insert(identifier);
            else
                strings.erase(identifier);
        }
    });
    rewrite(files, Paths::in("pinned_dirty.json"),
            [&](StringSet& strings) { strings.insert(given.begin(), given.end()); });
}

}  // namespace tobrel::PinFile
