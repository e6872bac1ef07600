#include "state/string_set.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <limits>

#include "platform/files.h"
#include "text/json.h"

namespace tobrel {

StringSet readStringSet(Files& files, const std::string& path) {
    auto content = readWhole(files, path, std::numeric_limits<std::size_t>::max());
    if (!content) return {};
    if (content->starts_with("\xEF\xBB\xBF")) content->erase(0, 3);
    auto value = json::parse(*content);
    if (!value || !value->is_array()) return {};
    StringSet strings;
    for (const auto& element : value->get_array()) {
        if (!element.is_string()) return {};
        strings.emplace(element.get_string());
    }
    return strings;
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
