#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Reading a server's JSON: a member of another type than asked for counts as absent, and so does a byte order mark.
namespace tobrel::json {

inline constexpr std::size_t deepestLevel = 512;

// Any JSON text; half a surrogate pair in an escape becomes U+FFFD. Nothing for broken JSON or UTF-8, or more than 512
// levels.
std::optional<boost::json::value> parse(std::string_view text);
// The object that the text holds. Null for anything else: other JSON, broken JSON or UTF-8, or more than 512 levels.
std::shared_ptr<const boost::json::object> parseObject(std::string_view text);
// Like parseObject, but of all objects only the named members are kept, and nothing below an object in a list in the
// object; null for more than a million values as well. Takes memory for what is kept alone.
std::shared_ptr<const boost::json::object> parseMembers(std::string_view text, std::span<const std::string_view> names);
// The text as the library can parse it.
std::string prepared(std::string_view text);

std::optional<std::string> string(const boost::json::object& object, std::string_view member);
std::optional<bool> boolean(const boost::json::object& object, std::string_view member);
// A true boolean, or a number that is not zero.
bool truth(const boost::json::object& object, std::string_view member);
const boost::json::object* object(const boost::json::object& object, std::string_view member);
// The array's objects; none where even one element is something else.
std::vector<const boost::json::object*> objects(const boost::json::object& object, std::string_view member);

}  // namespace tobrel::json
