#include "text/json.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <exception>
#include <utility>

namespace tobrel::json {

std::shared_ptr<const boost::json::object> parseObject(std::string_view text) {
    boost::json::parse_options options;
    options.max_depth = 512;
    try {
        boost::json::value value = boost::json::parse(text, {}, options);
        if (!value.is_object()) return nullptr;
        return std::make_shared<const boost::json::object>(std::move(value.get_object()));
    } catch (const std::exception&) {
        return nullptr;
    }
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
