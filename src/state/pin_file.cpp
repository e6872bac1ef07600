#include "state/pin_file.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <functional>
#include <limits>
#include <set>

#include "platform/files.h"
#include "platform/platform.h"
#include "state/paths.h"
#include "state/pin_queue.h"
#include "text/json.h"
#include "text/utf8.h"

namespace tobrel::PinFile {

namespace {

using StringSet = std::set<std::string>;

void createFolderOf(Files& files, const std::string& path) {
    files.createFolder(path.substr(0, path.rfind('/')), 0700);
}

// The strings of a JSON array; none where the file cannot be read or holds anything else.
StringSet readStrings(Files& files, const std::string& path) {
    auto content = readWhole(files, path, std::numeric_limits<std::size_t>::max());
    if (!content) return {};
    auto value = json::parse(*content);
    if (!value || !value->is_array()) return {};
    StringSet strings;
    for (const auto& element : value->get_array()) {
        if (!element.is_string()) return {};
        strings.emplace(element.get_string());
    }
    return strings;
}

std::string serialized(const StringSet& strings) {
    std::string text = "[";
    for (const std::string& string : strings) {
        if (text.size() > 1) text += ',';
        text += boost::json::serialize(string);
    }
    return text + ']';
}

void rewrite(Files& files, const std::string& path, const std::function<void(StringSet&)>& change) {
    StringSet strings = readStrings(files, path);
    change(strings);
    auto replacement = files.replace(path);
    if (replacement && replacement->write(serialized(strings))) replacement->commit();
}

}  // namespace

void request(const std::vector<std::string>& identifiers, bool pinned) {
    Files& files = platform::current().files;
    const std::string path = Paths::in("pinned_pending.json");
    createFolderOf(files, path);
    PinQueue::append(files, path, identifiers, pinned);
}

void update(const std::vector<std::string>& identifiers, bool pinned) {
    Files& files = platform::current().files;
    const std::string pinnedPath = Paths::in("pinned.json");
    StringSet given;
    for (const std::string& identifier : identifiers) given.insert(wellFormedUtf8(identifier));

    createFolderOf(files, pinnedPath);
    auto lock = files.lock(pinnedPath);
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
