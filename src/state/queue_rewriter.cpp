#include "state/queue_rewriter.h"

#include <algorithm>
#include <cstring>

#include "platform/files.h"

namespace tobrel {

namespace {

// File systems take whole blocks at less cost.
constexpr std::size_t writeSize = std::size_t{512} * 1024;

}  // namespace

QueueRewriter::QueueRewriter(FileReplacement& file)
    : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(writeSize + queuePieceSize)) {}

bool QueueRewriter::copy(FileReader& old) {
    if (readQueue(old, *this)) return true;
    size_ = 0;
    before_ = "[";
    failed_ = failed_ || !file_.restart();
    return false;
}

bool QueueRewriter::finish() {
    append(before_ == "[" ? "[]" : "]");
    write(size_);
    return !failed_;
}

void QueueRewriter::entryPart(std::string_view text, Part part) {
    append(before_);
    append(text);
    before_ = part == Part::last ? "," : "";
}

void QueueRewriter::append(std::string_view text) {
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), queuePieceSize))) {
        std::string_view part = text.substr(0, queuePieceSize);
        std::memcpy(buffer_.get() + size_, part.data(), part.size());
        size_ += part.size();
        if (size_ < writeSize) continue;
        write(writeSize);
        size_ -= writeSize;
        std::memcpy(buffer_.get(), buffer_.get() + writeSize, size_);
    }
}

void QueueRewriter::write(std::size_t size) {
    failed_ = failed_ || !file_.write({buffer_.get(), size});
}

}  // namespace tobrel
