#include "host/items_from.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "platform/file_descriptor.h"
#include "text/harmless_text.h"

namespace tobrel::host {

namespace {

constexpr std::size_t largestFile = std::size_t{64} * 1024 * 1024;
constexpr std::size_t mostItems = 1'000'000;

// Why there is no content, in words, or nothing; reads no further than the limit.
std::string readAll(const std::string& path, std::string& content) {
    FileDescriptor file(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file) return " cannot be read: " + std::generic_category().message(errno);
    char buffer[64 * 1024];
    ssize_t count;
    while ((count = read(file.number(), buffer, sizeof buffer)) > 0 && content.size() <= largestFile)
        content.append(buffer, static_cast<std::size_t>(count));
    if (count < 0) return " cannot be read: " + std::generic_category().message(errno);
    return content.size() > largestFile ? " is larger than 64 MiB; give fewer items at a time" : "";
}

}  // namespace

std::variant<std::vector<std::string>, UsageError> allItems(const Options& options) {
    std::vector<std::string> items = options.items;
    for (const std::string& file : options.itemsFrom) {
        std::string content;
        std::string refusal = readAll(file, content);
        if (refusal.empty()) addItems(items, content, options.itemsEndWithNul);
        if (refusal.empty() && items.size() > mostItems)
            refusal = " makes more than a million items; give fewer at a time";
        if (!refusal.empty()) return UsageError{"--items-from " + inQuotes(file) + refusal};
    }
    return items;
}

void addItems(std::vector<std::string>& items, std::string_view content, bool endWithNul) {
    const char separator = endWithNul ? '\0' : '\n';
    const auto separators = static_cast<std::size_t>(std::count(content.begin(), content.end(), separator));
    if (items.empty()) items.reserve(std::min(separators + 1, mostItems));
    while (!content.empty() && items.size() <= mostItems) {
        std::size_t end = std::min(content.find(separator), content.size());
        if (end > 0) items.emplace_back(content.substr(0, end));
        content.remove_prefix(std::min(end + 1, content.size()));
    }
}

}  // namespace tobrel::host
