#include "state/queue_rewriter.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/files.h"
#include "state/json_stream.h"
#include "state/plain_text.h"
#include "state/queue_entry.h"

namespace tobrel {

namespace {

// Collects text into writes of one size, which file systems take at less cost. Remembers a failure.
class Output {
public:
    explicit Output(FileReplacement& file)
        : file_(file), buffer_(std::make_unique_for_overwrite<char[]>(writeSize + JsonText::pieceSize)) {}

    void append(std::string_view text) {
        for (; !text.empty(); text.remove_prefix(std::min(text.size(), JsonText::pieceSize))) {
            std::string_view part = text.substr(0, JsonText::pieceSize);
            std::memcpy(reserve(), part.data(), part.size());
            advance(part.size());
        }
    }
    // Room for a piece; what is used of it is then told to `advance`.
    char* reserve() { return buffer_.get() + size_; }
    void advance(std::size_t size) {
        size_ += size;
        if (size_ < writeSize) return;
        write(writeSize);
        size_ -= writeSize;
        std::memcpy(buffer_.get(), buffer_.get() + writeSize, size_);
    }

    void restart() {
        size_ = 0;
        failed_ = failed_ || !file_.restart();
    }
    bool finish() {
        write(size_);
        return !failed_;
    }

private:
    static constexpr std::size_t writeSize = std::size_t{512} * 1024;

    void write(std::size_t size) { failed_ = failed_ || !file_.write({buffer_.get(), size}); }

    FileReplacement& file_;
    const std::unique_ptr<char[]> buffer_;
    std::size_t size_ = 0;
    bool failed_ = false;
};

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// Copies the text of one entry without the white space between its tokens.
class EntryCopier {
public:
    // Stops behind the entry's last bracket or at the end. Exponents become zeros in the original: a parser refuses
    // very large ones, though nobody here computes with them.
    char* copy(char* at, char* end, Output& output) {
        char* const begin = output.reserve();
        char* to = begin;
        do {
            at = inString_ ? copyString(at, end, to) : copyTokens(at, end, to);
        } while (at != end && depth_ > 0);
        output.advance(to - begin);
        return at;
    }
    bool isBetweenEntries() const { return depth_ == 0; }

private:
    // Up to and with the closing quote.
    char* copyString(char* at, char* end, char*& to) {
        while (at != end && inString_) {
            std::size_t plain = escaped_ ? 0 : plainLength({at, end});
            to = std::copy_n(at, plain, to);
            at += plain;
            if (at == end) break;
            inString_ = escaped_ || *at != '"';
            escaped_ = !escaped_ && *at == '\\';
            *to++ = *at++;
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
    bool inExponent_ = false;
};

// Checks an old queue as it passes and copies it, compact and without its closing bracket.
class OldQueue {
public:
    explicit OldQueue(Output& output) : output_(output), parser_(options()) {}

    // Takes the queue piece by piece and may change them. False when this is no queue.
    bool copy(std::span<char> piece) {
        char* at = piece.data();
        char* end = at + piece.size();
        while (at != end) {
            if (expected_ == Expected::restOfEntry) {
                if (!copyEntry(at, end)) return false;
            } else if (isSpace(*at)) {
                ++at;
            } else if (*at == '{' && (expected_ == Expected::entry || expected_ == Expected::firstEntry)) {
                std::size_t length = plainEntriesLength({at, end});
                output_.append({at, length});
                at += length;
                expected_ = length ? Expected::comma : Expected::restOfEntry;
            } else if (*at == ']' && (expected_ == Expected::comma || expected_ == Expected::firstEntry)) {
                hasEntries_ = expected_ == Expected::comma;
                expected_ = Expected::nothing;
                ++at;
            } else if (*at == '[' && expected_ == Expected::opening) {
                output_.append({at++, 1});
                expected_ = Expected::firstEntry;
            } else if (*at == ',' && expected_ == Expected::comma) {
                output_.append({at++, 1});
                expected_ = Expected::entry;
            } else {
                return false;
            }
        }
        return true;
    }

    bool isComplete() const { return expected_ == Expected::nothing; }
    bool hasEntries() const { return hasEntries_; }

private:
    enum class Expected { opening, firstEntry, entry, restOfEntry, comma, nothing };

    static boost::json::parse_options options() {
        boost::json::parse_options options;
        options.max_depth = jsonDepthLimit - 1;
        return options;
    }

    bool copyEntry(char*& at, char* end) {
        char* begin = at;
        at = copier_.copy(at, end, output_);
        std::size_t size = at - begin;
        boost::json::error_code error;
        if (parser_.write_some(true, begin, size, error) != size || error) return false;
        if (parser_.done() != copier_.isBetweenEntries()) return false;
        if (!parser_.done()) return true;
        parser_.reset();
        expected_ = Expected::comma;
        return true;
    }

    Output& output_;
    Expected expected_ = Expected::opening;
    bool hasEntries_ = false;
    EntryCopier copier_;
    boost::json::basic_parser<JsonEvents> parser_;
};

// Whether the old queue has entries; nothing where it is none, and whatever has been written of it is worthless.
std::optional<bool> copyOld(FileReader& old, Output& output) {
    JsonText text(old);
    OldQueue queue(output);
    while (auto piece = text.next()) {
        if (piece->empty()) return queue.isComplete() ? std::optional(queue.hasEntries()) : std::nullopt;
        if (!queue.copy(*piece)) break;
    }
    return std::nullopt;
}

}  // namespace

bool appendRequests(FileReader* old, FileReplacement& replacement, const std::vector<std::string>& identifiers,
                    bool pinned) {
    Output output(replacement);
    auto hasEntries = old ? copyOld(*old, output) : std::nullopt;
    if (!hasEntries) {
        if (old) output.restart();
        output.append("[");
    }
    bool needsComma = hasEntries.value_or(false);
    for (const std::string& identifier : identifiers) {
        if (needsComma) output.append(",");
        output.append(queueEntry(identifier, pinned));
        needsComma = true;
    }
    output.append("]");
    return output.finish();
}

}  // namespace tobrel
