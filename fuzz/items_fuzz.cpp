// Lists of items, imported lines and paths, whatever they hold: what the registry takes lies below the domain's root
// and is found again, by item and by path. Input: as for --items-from or `item import`.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "admin/import_lines.h"
#include "check.h"
#include "host/items_from.h"
#include "platform/linux/file_provider/item_mapping.h"
#include "platform/linux/file_provider/local_path.h"
#include "platform/linux/file_provider/registry.h"
#include "text/harmless_text.h"
#include "text/path.h"
#include "work_folder.h"

namespace {

using namespace tobrel;

void checkItems(std::string_view text, bool endWithNul) {
    const char separator = endWithNul ? '\0' : '\n';
    std::vector<std::string> items, again;
    host::addItems(items, text, endWithNul);
    std::string joined;
    for (const std::string& item : items) {
        check(!item.empty() && item.find(separator) == item.npos);
        joined += item + separator;
    }
    check(joined.size() <= text.size() + 1);
    host::addItems(again, joined, endWithNul);
    check(again == items);
}

void checkPaths(std::string_view text) {
    if (auto normal = normalPath(text)) {
        check(normalPath(*normal) == normal && !hasDotDot(*normal) && normal->size() <= text.size());
        check(normal->starts_with('/') == text.starts_with('/'));
    }
    const std::string plain = withoutDots(text);
    check(plain.starts_with('/') && withoutDots(plain) == plain);
    check(lastPathComponent(text) == "/" || lastPathComponent(text).find('/') == text.npos);
    if (auto path = isFileUri(text) ? pathOfFileUri(text) : std::nullopt)
        check(path->starts_with('/') && path->find('\0') == path->npos);
}

void checkFailure(const Failure& failure) {
    check(!failure.sentence.empty() && harmless(failure.sentence) == failure.sentence);
}

void checkRegistry(const WorkFolder& folder, std::string_view lines) {
    static FileProviderRegistry registry(folder.path);
    const std::string root = folder.subfolder("root");
    check(static_cast<bool>(registry.addDomain("d", root)));
    {
        auto edit = registry.editItems("d");
        check(static_cast<bool>(edit));
        auto added = admin::importLines(**edit, lines);
        if (!added) checkFailure(added.failure());
        check(static_cast<bool>((*edit)->commit()));
    }
    std::vector<std::pair<std::string, std::string>> rows;
    {
        auto snapshot = registry.read();
        const RegisteredDomain* domain = (*snapshot)->domain("d");
        check(static_cast<bool>((*snapshot)->listItems(*domain, [&](std::string_view item, std::string_view path) {
            rows.emplace_back(item, path);
            return true;
        })));
        for (const auto& [item, path] : rows) {
            check(!path.empty() && !path.starts_with('/') && normalPath(path) == path);
            auto found = (*snapshot)->pathOfItem(*domain, item);
            check(found && *found == pathIn(root, path));
            check((*snapshot)->domainOfPath(**found) == domain);
            auto back = (*snapshot)->itemAtPath(*domain, **found);
            check(back && *back == item);
        }
    }
    {
        ItemMapping mapping(registry, root);
        for (const auto& [item, path] : rows) {
            auto mapped = mapping.map(pathIn(root, path));
            check(mapped && mapped->domain == "d" && mapped->item == item);
        }
        if (auto mapped = mapping.map(lines); !mapped) checkFailure(mapped.failure());
    }
    check(static_cast<bool>(registry.removeDomain("d")));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static WorkFolder folder;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    checkItems(text, false);
    checkItems(text, true);
    checkPaths(text);
    checkRegistry(folder, text);
    return 0;
}
