#include "platform/files.h"

namespace tobrel {

std::optional<std::string> readWhole(Files& files, const std::string& path, std::size_t limit) {
    auto reader = files.open(path);
    if (!reader) return std::nullopt;
    std::string content;
    char buffer[16 * 1024];
    while (true) {
        auto count = reader->read(buffer);
        if (!count || content.size() + *count > limit) return std::nullopt;
        if (*count == 0) return content;
        content.append(buffer, *count);
    }
}

}  // namespace tobrel
