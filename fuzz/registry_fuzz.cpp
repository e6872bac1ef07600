// A damaged registry, whatever bytes stand in it: every call answers or says why not, in bounded time, and no fault
// spreads to the next. Input: places and bytes that are exchanged in a sound database, three bytes of place and one of
// value each, after a first byte that says whether the database is hit or the write-ahead log that stands beside it.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>

#include "check.h"
#include "platform/linux/file_provider/item_mapping.h"
#include "platform/linux/file_provider/registry.h"
#include "text/harmless_text.h"
#include "work_folder.h"

namespace {

using namespace tobrel;

template <class T>
bool answers(const Outcome<T>& outcome) {
    if (outcome) return true;
    const std::string& sentence = outcome.failure().sentence;
    check(!sentence.empty() && harmless(sentence) == sentence);
    return false;
}

struct Content {
    std::string database, log;
};

Content contentOf(const std::string& data) {
    return {read(data + "/file-provider.sqlite"), read(data + "/file-provider.sqlite-wal")};
}

void fill(const WorkFolder& folder, FileProviderRegistry& registry) {
    for (const char* name : {"a", "b"}) check(answers(registry.addDomain(name, folder.subfolder(name))));
    auto edit = registry.editItems("a");
    check(answers(edit));
    for (int i = 0; i < 40; ++i) {
        const std::string item = "item " + std::to_string(i), path = "folder/" + item;
        check(answers((*edit)->add(item, path)));
    }
    check(answers((*edit)->commit()));
}

struct Sound {
    explicit Sound(const WorkFolder& folder) {
        const std::string data = folder.subfolder("sound");
        {
            FileProviderRegistry registry(data);
            fill(folder, registry);
            inLog = contentOf(data);
        }
        inDatabase = contentOf(data);
        check(!inLog.log.empty() && inDatabase.log.empty());
    }
    Content inLog, inDatabase;
};

void damage(std::string& bytes, std::string_view changes) {
    for (; changes.size() >= 4; changes.remove_prefix(4)) {
        auto at = [&](int i) { return static_cast<unsigned char>(changes[i]); };
        bytes[(at(0) << 16 | at(1) << 8 | at(2)) % bytes.size()] = changes[3];
    }
}

void use(const std::string& data, const std::string& root) {
    FileProviderRegistry registry(data);
    if (auto snapshot = registry.read(); answers(snapshot)) {
        (*snapshot)->domainOfPath(root + "/folder");
        for (const RegisteredDomain& domain : (*snapshot)->domains()) {
            answers((*snapshot)->countItems(domain));
            answers((*snapshot)->pathOfItem(domain, "item 7"));
            answers((*snapshot)->itemAtPath(domain, root + "/folder/item 7"));
            int left = 1000;
            answers((*snapshot)->listItems(domain, [&](std::string_view, std::string_view) { return --left > 0; }));
        }
    }
    if (auto mapped = ItemMapping(registry, root).map(root + "/folder/item 7"); !mapped) answers(mapped);
    answers(registry.countSignal("a"));
    if (auto edit = registry.editItems("a"); answers(edit)) {
        answers((*edit)->add("new", "folder/new"));
        answers((*edit)->remove("item 3"));
        answers((*edit)->commit());
    }
    answers(registry.removeDomain("b"));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static WorkFolder folder;
    static const Sound sound(folder);
    if (size == 0) return 0;
    const bool hitsLog = data[0] % 2 != 0;
    Content content = hitsLog ? sound.inLog : sound.inDatabase;
    damage(hitsLog ? content.log : content.database, {reinterpret_cast<const char*>(data) + 1, size - 1});
    const std::string place = folder.subfolder("damaged");
    put(place + "/file-provider.sqlite", content.database);
    if (hitsLog) put(place + "/file-provider.sqlite-wal", content.log);
    use(place, folder.path + "/a");
    std::filesystem::remove_all(place);
    return 0;
}
