#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tobrel::admin {

// The text of a JSON object with the named text member set, every other byte as it was; an empty text becomes an
// object. Nothing where the text is no JSON object.
std::optional<std::string> withTextMember(std::string_view json, std::string_view name, std::string_view value);

}  // namespace tobrel::admin
