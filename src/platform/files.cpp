#include "platform/files.h"

namespace tobrel {

std::optional<std::string> readWhole(Files& files, const std::string& path, std::size_t limit) {
    auto reader = files.open(path);
    if (!reader) return std::nullopt;
    // Straight into the text: no copy of it stays on the stack.
    constexpr std::size_t piece = std::size_t{16} * 1024;
    std::string content;
    for (std::size_t size = 0;;) {
        content.resize(size + piece);
        auto count = reader->read(std::span(content).subspan(size));
        if (!count || size + *count > limit) return std::nullopt;
        size += *count;
        content.resize(size);
        if (*count == 0) return content;
    }
}

}  // namespace tobrel
