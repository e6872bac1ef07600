#include "state/string_set.h"

#include <boost/json/serialize.hpp>

#include "platform/files.h"
#include "state/json_stream.h"

namespace tobrel {

namespace {

// Accepts an array of strings only.
struct StringCollector : JsonEvents {
    bool on_object_begin(Error&) { return false; }
    bool on_array_begin(Error&) { return !std::exchange(inArray, true); }
    bool on_string_part(Text text, std::size_t, Error&) {
        current.append(text.data(), text.size());
        return inArray;
    }
    bool on_string(Text text, std::size_t, Error&) {
        current.append(text.data(), text.size());
        strings.insert(std::exchange(current, {}));
        return inArray;
    }
    bool on_int64(std::int64_t, Text, Error&) { return false; }
    bool on_uint64(std::uint64_t, Text, Error&) { return false; }
    bool on_double(double, Text, Error&) { return false; }
    bool on_bool(bool, Error&) { return false; }
    bool on_null(Error&) { return false; }

    StringSet strings;
    std::string current;
    bool inArray = false;
};

}  // namespace

StringSet readStringSet(FileReader* file) {
    if (!file) return {};
    JsonText text(*file);
    boost::json::basic_parser<StringCollector> parser{boost::json::parse_options()};
    boost::json::error_code error;
    while (auto piece = text.next()) {
        if (piece->empty()) return parser.done() ? std::move(parser.handler().strings) : StringSet();
        if (parser.write_some(true, piece->data(), piece->size(), error) != piece->size() || error) break;
    }
    return {};
}

std::string serialized(const StringSet& strings) {
    std::string text = "[";
    for (const std::string& string : strings) {
        if (text.size() > 1) text += ',';
        text += boost::json::serialize(string);
    }
    return text + ']';
}

}  // namespace tobrel
