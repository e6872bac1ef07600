#include "state/json_stream.h"

#include <string_view>

#include "platform/files.h"

namespace tobrel {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

}  // namespace

JsonText::JsonText(FileReader& file) : file_(file), piece_(std::make_unique_for_overwrite<char[]>(pieceSize)) {}

std::optional<std::span<char>> JsonText::next() {
    std::span<char> piece(piece_.get(), pieceSize);
    auto count = file_.read(piece);
    if (!count) return std::nullopt;
    if (started_) return piece.first(*count);

    started_ = true;
    std::size_t size = *count;
    // More than the mark, as an empty piece would be the end.
    while (*count > 0 && size <= byteOrderMark.size()) {
        count = file_.read(piece.subspan(size));
        if (!count) return std::nullopt;
        size += *count;
    }
    piece = piece.first(size);
    return std::string_view(piece.data(), size).starts_with(byteOrderMark) ? piece.subspan(byteOrderMark.size())
                                                                           : piece;
}

}  // namespace tobrel
