#include "state/queue_rewriter.h"

#include <boost/json/serialize.hpp>
#include <cstring>
#include <string_view>

#include "platform/files.h"
#include "platform/utf8.h"
#include "state/json_stream.h"

namespace tobrel {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\t' || c == '\r';
}

// Stands for itself in a JSON string, and alone is well-formed UTF-8.
bool isPlain(unsigned char c) {
    return c >= ' ' && c < 0x80 && c != '"' && c != '\\';
}

// The end of an entry that looks as this program writes it, its identifier being plain ASCII; else null. Most entries
// do, and recognising them is several times faster than parsing.
const char* skipOwnEntry(const char* at, const char* end) {
    constexpr std::string_view head = "{\"id\":\"", middle = "\",\"pin\":", yes = "true}", no = "false}";
    auto skip = [&](std::string_view expected) {
        if (static_cast<std::size_t>(end - at) < expected.size() || std::memcmp(at, expected.data(), expected.size()))
            return false;
        at += expected.size();
        return true;
    };
    if (!skip(head)) return nullptr;
    while (at != end && isPlain(*at)) ++at;
    return skip(middle) && (skip(yes) || skip(no)) ? at : nullptr;
}

// Copies the text of one entry without the white space between its tokens.
class EntryCopier {
public:
    // Stops behind the entry's last bracket or at the end. The exponents of the original become zeros: a parser would
    // refuse a very large one, and only for this program's own arithmetic.
    char* copy(char* at, char* end, char*& to) {
        for (; at != end; ++at) {
            char c = *at;
            if (inString_) {
                *to++ = c;
                if (escaped_)
                    escaped_ = false;
                else if (c == '\\')
                    escaped_ = true;
                else if (c == '"')
                    inString_ = false;
                continue;
            }
            if (isSpace(c)) continue;
            *to++ = c;
            if (inExponent_ && c >= '0' && c <= '9') {
                *at = '0';
                continue;
            }
            inExponent_ = c == 'e' || c == 'E' || (inExponent_ && (c == '+' || c == '-'));
            if (c == '"') inString_ = true;
            if (c == '{' || c == '[') ++depth_;
            if ((c == '}' || c == ']') && --depth_ == 0) return at + 1;
        }
        return at;
    }
    bool atEnd() const { return depth_ == 0; }

private:
    std::size_t depth_ = 0;
    bool inString_ = false;
    bool escaped_ = false;
    bool inExponent_ = false;
};

// Checks an old queue as it passes and copies it, compact and without its closing bracket.
class OldQueue {
public:
    OldQueue() : parser_(options()) {}

    // Writes no more than it is given; false when this is no queue.
    bool copy(std::span<char> text, char*& to) {
        char* at = text.data();
        char* end = at + text.size();
        while (at != end) {
            if (expected_ == Expected::restOfEntry) {
                if (!copyEntry(at, end, to)) return false;
            } else if (isSpace(*at)) {
                ++at;
            } else if (expected_ == Expected::opening) {
                if (*at != '[') return false;
                *to++ = *at++;
                expected_ = Expected::firstEntry;
            } else if (expected_ == Expected::comma && *at == ',') {
                *to++ = *at++;
                expected_ = Expected::entry;
            } else if (*at == ']' && (expected_ == Expected::comma || expected_ == Expected::firstEntry)) {
                hasEntries_ = expected_ == Expected::comma;
                expected_ = Expected::nothing;
                ++at;
            } else if (*at == '{' && (expected_ == Expected::entry || expected_ == Expected::firstEntry)) {
                expected_ = Expected::restOfEntry;
                if (const char* after = skipOwnEntry(at, end)) {
                    to = std::copy(at, const_cast<char*>(after), to);
                    at += after - at;
                    expected_ = Expected::comma;
                }
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

    bool copyEntry(char*& at, char* end, char*& to) {
        char* begin = at;
        at = copier_.copy(at, end, to);
        std::size_t size = at - begin;
        boost::json::error_code error;
        if (parser_.write_some(true, begin, size, error) != size || error) return false;
        if (parser_.done() != copier_.atEnd()) return false;
        if (parser_.done()) {
            parser_.reset();
            expected_ = Expected::comma;
        }
        return true;
    }

    Expected expected_ = Expected::opening;
    bool hasEntries_ = false;
    EntryCopier copier_;
    boost::json::basic_parser<JsonEvents> parser_;
};

enum class Outcome { copied, noQueue, notWritten };

Outcome copyOld(FileReader& old, FileReplacement& replacement, bool& hasEntries) {
    JsonText text(old);
    OldQueue queue;
    auto compact = std::make_unique_for_overwrite<char[]>(JsonText::pieceSize);
    while (auto piece = text.next()) {
        if (piece->empty()) {
            hasEntries = queue.hasEntries();
            return queue.isComplete() ? Outcome::copied : Outcome::noQueue;
        }
        char* to = compact.get();
        if (!queue.copy(*piece, to)) return Outcome::noQueue;
        if (!replacement.write({compact.get(), to})) return Outcome::notWritten;
    }
    return Outcome::noQueue;
}

}  // namespace

bool appendRequests(FileReader* old, FileReplacement& replacement, const std::vector<std::string>& identifiers,
                    bool pinned) {
    bool hasEntries = false;
    Outcome outcome = old ? copyOld(*old, replacement, hasEntries) : Outcome::noQueue;
    if (outcome == Outcome::notWritten) return false;
    std::string text;
    if (outcome == Outcome::noQueue) {
        if (!replacement.restart()) return false;
        text += '[';
    }
    for (const std::string& identifier : identifiers) {
        if (hasEntries) text += ',';
        hasEntries = true;
        text += "{\"id\":" + boost::json::serialize(wellFormedUtf8(identifier)) +
                ",\"pin\":" + (pinned ? "true}" : "false}");
        if (text.size() >= JsonText::pieceSize) {
            if (!replacement.write(text)) return false;
            text.clear();
        }
    }
    return replacement.write(text + ']');
}

}  // namespace tobrel
