#include <algorithm>
#include <boost/json.hpp>

#include "check.h"
#include "platform/files.h"
#include "state/queue_entry.h"
#include "state/queue_rewriter.h"
#include "text/json.h"

// Whatever a queue file holds: what comes of it is the old text without its white space, if that is an array of
// objects to a full parser, with the new request behind.

namespace {

namespace json = boost::json;

struct Reader : tobrel::FileReader {
    std::optional<std::size_t> read(std::span<char> buffer) override {
        std::size_t count = text.copy(buffer.data(), std::min(buffer.size(), portion));
        text.remove_prefix(count);
        return count;
    }
    bool restart() override { return false; }
    std::string_view text;
    std::size_t portion = 0;
};

struct Replacement : tobrel::FileReplacement {
    bool write(std::string_view bytes) override {
        text += bytes;
        return true;
    }
    bool restart() override {
        text.clear();
        return true;
    }
    bool commit() override { return true; }
    Exchange exchange(const tobrel::FileState&) override { return Exchange::failed; }
    std::unique_ptr<tobrel::FileReader> displaced() override { return nullptr; }
    void keepDisplaced() override {}
    std::string text;
};

json::parse_options options() {
    json::parse_options options;
    options.max_depth = 512;
    return options;
}

std::string compact(std::string_view text) {
    std::string result;
    bool inString = false, escaped = false;
    for (char c : text) {
        if (!inString && std::string_view(" \t\r\n").find(c) != std::string_view::npos) continue;
        result += c;
        inString = c == '"' && !escaped ? !inString : inString;
        escaped = inString && c == '\\' && !escaped;
    }
    return result;
}

}  // namespace

// The input: a letter for the size in which the file is read, the identifier's line, and the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    std::size_t line = input.find('\n');
    if (line == 0 || line == input.npos) return 0;
    Reader reader;
    reader.portion = data[0] % 32 + 1;
    const std::string identifier(input.substr(1, line - 1));
    const std::string_view file = input.substr(line + 1);

    std::string_view old = file;
    if (old.starts_with("\xEF\xBB\xBF")) old.remove_prefix(3);
    json::error_code error;
    json::parse(old, error, {}, options());
    // Refused for the parser's own arithmetic alone.
    if (error == json::error::exponent_overflow) return 0;
    auto parsed = tobrel::json::parse(file);
    bool isQueue = parsed && parsed->is_array() &&
                   std::ranges::all_of(parsed->get_array(), [](const json::value& entry) { return entry.is_object(); });
    std::string expected = isQueue ? compact(old) : "[]";
    expected.pop_back();

    Replacement replacement;
    reader.text = file;
    tobrel::QueueRewriter rewriter(replacement);
    check(rewriter.copy(reader) == isQueue);
    std::string entry;
    tobrel::addQueueEntry(entry, identifier, true);
    rewriter.add(entry);
    check(rewriter.finish());
    std::string_view result = replacement.text;
    check(result.starts_with(expected));
    result.remove_prefix(expected.size());
    check(result.starts_with(',') == (expected != "["));
    if (result.starts_with(',')) result.remove_prefix(1);
    check(result.ends_with(']'));
    result.remove_suffix(1);
    json::value added = json::parse(result, error);
    check(!error && added.get_object().size() == 2 && added.at("pin").get_bool());
    bool isAscii = std::ranges::all_of(identifier, [](char c) { return (c & 0x80) == 0; });
    check(!isAscii || added.at("id").get_string() == json::string_view(identifier));
    return 0;
}
