#include "state/queue_reader.h"

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <memory>
#include <optional>
#include <span>

#include "platform/files.h"
#include "state/queue_entry.h"

namespace tobrel {

namespace {

// How deep arrays and objects may lie in each other.
constexpr std::size_t depthLimit = 512;

// The text of a file piece by piece, without a byte order mark.
class FileText {
public:
    explicit FileText(FileReader& file) : file_(file), piece_(std::make_unique_for_overwrite<char[]>(queuePieceSize)) {}

    // Valid, and the caller's to change, until the next call; empty at the end, nothing on a read error.
    std::optional<std::span<char>> next() {
        constexpr std::string_view mark = "\xEF\xBB\xBF";
        std::span<char> piece(piece_.get(), queuePieceSize);
        auto count = file_.read(piece);
        if (!count) return std::nullopt;
        if (std::exchange(started_, true)) return piece.first(*count);

        std::size_t size = *count;
        // More than the mark, as an empty piece would be the end.
        while (*count > 0 && size <= mark.size()) {
            count = file_.read(piece.subspan(size));
            if (!count) return std::nullopt;
            size += *count;
        }
        piece = piece.first(size);
        return std::string_view(piece.data(), size).starts_with(mark) ? piece.subspan(mark.size()) : piece;
    }

private:
    FileReader& file_;
    std::unique_ptr<char[]> piece_;
    bool started_ = false;
};

// Accepts whatever is grammatical.
struct Events {
    using Error = boost::json::error_code;
    using Text = boost::json::string_view;

    static constexpr std::size_t max_object_size = -1;
    static constexpr std::size_t max_array_size = -1;
    static constexpr std::size_t max_key_size = -1;
    static constexpr std::size_t max_string_size = -1;

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error&) { return true; }
    bool on_object_end(std::size_t, Error&) { return true; }
    bool on_array_begin(Error&) { return true; }
    bool on_array_end(std::size_t, Error&) { return true; }
    bool on_key_part(Text, std::size_t, Error&) { return true; }
    bool on_key(Text, std::size_t, Error&) { return true; }
    bool on_string_part(Text, std::size_t, Error&) { return true; }
    bool on_string(Text, std::size_t, Error&) { return true; }
    bool on_number_part(Text, Error&) { return true; }
    bool on_int64(std::int64_t, Text, Error&) { return true; }
    bool on_uint64(std::uint64_t, Text, Error&) { return true; }
    bool on_double(double, Text, Error&) { return true; }
    bool on_bool(bool, Error&) { return true; }
    bool on_null(Error&) { return true; }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }
};

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// Copies the text of one entry, whatever it holds, without the white space between its tokens. The buffer it copies
// from is then given to the parser, which only checks the grammar but refuses two things that the grammar allows:
// numbers beyond its range, and half a surrogate pair. So both are overwritten in that buffer, never in the copy: the
// digits of an exponent by zeros, and the "d" of a \uD... escape by "0".
class EntryCopier {
public:
    // Stops behind the entry's last bracket or at the end.
    char* copy(char* at, char* end, char*& to) {
        do {
            at = inString_ ? copyString(at, end, to) : copyTokens(at, end, to);
        } while (at != end && depth_ > 0);
        return at;
    }
    bool isBetweenEntries() const { return depth_ == 0; }

private:
    // Up to and with the closing quote.
    char* copyString(char* at, char* end, char*& to) {
        while (at != end && inString_) {
            std::size_t plain = escaped_ || afterU_ ? 0 : plainLength({at, end});
            to = std::copy_n(at, plain, to);
            at += plain;
            if (at == end) break;
            char c = *at;
            *to++ = c;
            if (afterU_ && (c == 'd' || c == 'D')) *at = '0';
            afterU_ = escaped_ && c == 'u';
            inString_ = escaped_ || c != '"';
            escaped_ = !escaped_ && c == '\\';
            ++at;
        }
        return at;
    }

    // Up to and with the next opening quote, or the entry's last bracket.
    char* copyTokens(char* at, char* end, char*& to) {
        bool inExponent = inExponent_;
        for (; at != end && !inString_; ++at) {
            char c = *at;
            if (isSpace(c)) continue;
            *to++ = c;
            if (c >= '0' && c <= '9') {
                if (inExponent) *at = '0';
            } else if (c == '"') {
                inString_ = true;
            } else if (c == '{' || c == '[') {
                ++depth_;
            } else if (c == '}' || c == ']') {
                inExponent = false;
                if (--depth_ > 0) continue;
                ++at;
                break;
            } else {
                inExponent = c == 'e' || c == 'E' || (inExponent && (c == '+' || c == '-'));
            }
        }
        inExponent_ = inExponent;
        return at;
    }

    std::size_t depth_ = 0;
    bool inString_ = false;
    bool escaped_ = false;
    bool afterU_ = false;
    bool inExponent_ = false;
};

class QueueReader {
public:
    explicit QueueReader(QueueVisitor& visitor)
        : visitor_(visitor),
          copy_(std::make_unique_for_overwrite<char[]>(queuePieceSize + sizeof(std::uint64_t))),
          parser_(options()) {}

    // Takes the queue piece by piece and may change them. False when this is no queue.
    bool take(std::span<char> piece) {
        char* at = piece.data();
        char* end = at + piece.size();
        while (at != end) {
            if (expected_ == Expected::restOfEntry) {
                if (!takeEntry(at, end)) return false;
            } else if (isSpace(*at)) {
                ++at;
            } else if (*at == '{' && (expected_ == Expected::entry || expected_ == Expected::firstEntry)) {
                expected_ = takeSimpleEntries(at, end) ? Expected::comma : Expected::restOfEntry;
            } else if (*at == ',' && expected_ == Expected::comma) {
                ++at;
                expected_ = Expected::entry;
            } else if (*at == ']' && (expected_ == Expected::comma || expected_ == Expected::firstEntry)) {
                ++at;
                expected_ = Expected::nothing;
            } else if (*at == '[' && expected_ == Expected::opening) {
                ++at;
                expected_ = Expected::firstEntry;
            } else {
                return false;
            }
        }
        return true;
    }

    bool isComplete() const { return expected_ == Expected::nothing; }

private:
    enum class Expected { opening, firstEntry, entry, restOfEntry, comma, nothing };

    static boost::json::parse_options options() {
        boost::json::parse_options options;
        options.max_depth = depthLimit - 1;
        return options;
    }

    bool takeSimpleEntries(char*& at, char* end) {
        if (std::size_t length = ownEntriesLength({at, end})) {
            visitor_.simpleEntries({at, length});
            at += length;
            return true;
        }
        char* to = copy_.get();
        std::size_t length = copySimpleObjects({at, end}, to);
        if (length == 0) return false;
        at += length;
        visitor_.simpleEntries({copy_.get(), to});
        return true;
    }

    bool takeEntry(char*& at, char* end) {
        char* begin = at;
        char* to = copy_.get();
        at = copier_.copy(at, end, to);
        std::size_t size = at - begin;
        boost::json::error_code error;
        if (parser_.write_some(true, begin, size, error) != size || error) return false;
        if (parser_.done() != copier_.isBetweenEntries()) return false;
        visitor_.entryPart({copy_.get(), to}, parser_.done() ? QueueVisitor::Part::last : QueueVisitor::Part::inner);
        if (!parser_.done()) return true;
        parser_.reset();
        expected_ = Expected::comma;
        return true;
    }

    QueueVisitor& visitor_;
    const std::unique_ptr<char[]> copy_;
    Expected expected_ = Expected::opening;
    EntryCopier copier_;
    boost::json::basic_parser<Events> parser_;
};

}  // namespace

void QueueVisitor::simpleEntries(std::string_view text) {
    while (!text.empty()) {
        std::size_t length = simpleObjectLength(text);
        entryPart(text.substr(0, length), Part::last);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
}

bool readQueue(FileReader& file, QueueVisitor& visitor) {
    FileText text(file);
    QueueReader reader(visitor);
    while (auto piece = text.next()) {
        if (piece->empty()) return reader.isComplete();
        if (!reader.take(*piece)) break;
    }
    return false;
}

}  // namespace tobrel
