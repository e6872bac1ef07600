#include "text/json.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <exception>
#include <utility>

namespace tobrel::json {

namespace {

// The number of a \uXXXX escape, or nothing.
std::optional<unsigned> escapedUnit(std::string_view text) {
    unsigned unit = 0;
    if (text.size() < 6 || text[0] != '\\' || text[1] != 'u') return std::nullopt;
    auto [end, error] = std::from_chars(text.data() + 2, text.data() + 6, unit, 16);
    return error == std::errc() && end == text.data() + 6 ? std::optional(unit) : std::nullopt;
}

// The same text with U+FFFD for each half of a surrogate pair that stands alone: JSON's grammar has these, the library
// refuses them.
std::string withoutLoneSurrogates(std::string_view text) {
    std::string result(text);
    auto is = [&](std::size_t at, unsigned first) {
        auto unit = escapedUnit(std::string_view(result).substr(std::min(at, result.size())));
        return unit && (*unit & 0xFC00) == first;
    };
    for (std::size_t at = result.find('\\'); at < result.size(); at = result.find('\\', at)) {
        bool leads = is(at, 0xD800), trails = is(at, 0xDC00);
        if (leads && is(at + 6, 0xDC00)) {
            at += 12;
        } else if (leads || trails) {
            result.replace(at, 6, "\\ufffd");
            at += 6;
        } else {
            at += 2;
        }
    }
    return result;
}

}  // namespace

std::string prepared(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    return text.find("\\u") == text.npos ? std::string(text) : withoutLoneSurrogates(text);
}

std::optional<boost::json::value> parse(std::string_view text) {
    boost::json::parse_options options;
    options.max_depth = deepestLevel;
    try {
        return boost::json::parse(prepared(text), {}, options);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::shared_ptr<const boost::json::object> parseObject(std::string_view text) {
    auto value = parse(text);
    if (!value || !value->is_object()) return nullptr;
    return std::make_shared<const boost::json::object>(std::move(value->get_object()));
}

std::optional<std::string> string(const boost::json::object& object, std::string_view member) {
    auto* value = object.if_contains(member);
    if (!value || !value->is_string()) return std::nullopt;
    return std::string(value->get_string());
}

std::optional<bool> boolean(const boost::json::object& object, std::string_view member) {
    auto* value = object.if_contains(member);
    if (!value || !value->is_bool()) return std::nullopt;
    return value->get_bool();
}

bool truth(const boost::json::object& object, std::string_view member) {
    auto* value = object.if_contains(member);
    if (value && value->is_number()) return value->to_number<double>() != 0;
    return boolean(object, member).value_or(false);
}

const boost::json::object* object(const boost::json::object& object, std::string_view member) {
    auto* value = object.if_contains(member);
    return value ? value->if_object() : nullptr;
}

std::vector<const boost::json::object*> objects(const boost::json::object& object, std::string_view member) {
    auto* value = object.if_contains(member);
    if (!value || !value->is_array()) return {};
    std::vector<const boost::json::object*> objects;
    for (auto& element : value->get_array()) {
        if (!element.is_object()) return {};
        objects.push_back(&element.get_object());
    }
    return objects;
}

}  // namespace tobrel::json
