#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Reading a server's JSON: a member of another type than asked for counts as absent.
namespace tobrel::json {

// Any JSON text; half a surrogate pair in an escape becomes U+FFFD. Nothing for broken JSON or UTF-8, or more than 512
// levels.
std::optional<boost::json::value> parse(std::string_view text);
// The object that the text holds. Null for anything else: other JSON, broken JSON or UTF-8, or more than 512 levels.
std::shared_ptr<const boost::json::object> parseObject(std::string_view text);

std::optional<std::string> string(const boost::json::object& object, std::string_view member);
std::optional<bool> boolean(const boost::json::object& object, std::string_view member);
// A true boolean, or a number that is not zero.
bool truth(const boost::json::object& object, std::string_view member);
const boost::json::object* object(const boost::json::object& object, std::string_view member);
// The array's objects; none where even one element is something else.
std::vector<const boost::json::object*> objects(const boost::json::object& object, std::string_view member);

}  // namespace tobrel::json
