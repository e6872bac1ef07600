#include "frontends/json/line_buffer.h"

#include <utility>

namespace tobrel {

void LineBuffer::add(std::string_view bytes) {
    while (!bytes.empty()) {
        std::size_t end = bytes.find('\n');
        std::string_view piece = bytes.substr(0, end);
        unfinished_.isTooLong |= unfinished_.text.size() + piece.size() > longestLine;
        if (unfinished_.isTooLong)
            unfinished_.text = {};
        else
            unfinished_.text += piece;
        if (end == bytes.npos) return;
        finishLine();
        bytes.remove_prefix(end + 1);
    }
}

void LineBuffer::end() {
    ended_ = true;
    finishLine();
}

std::optional<LineBuffer::Line> LineBuffer::next() {
    if (lines_.empty()) return std::nullopt;
    Line line = std::move(lines_.front());
    lines_.pop_front();
    return line;
}

void LineBuffer::finishLine() {
    Line line = std::exchange(unfinished_, {});
    bool isBlank = line.text.find_first_not_of(" \t\r") == line.text.npos;
    if (line.isTooLong || !isBlank) lines_.push_back(std::move(line));
}

}  // namespace tobrel
