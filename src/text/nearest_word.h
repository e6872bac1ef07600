#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel {

// The known word that was probably meant: the one with the fewest slips (a letter too many, too few, wrong, or two
// swapped), nothing where none is near. Of equals, the first.
std::optional<std::string> nearestWord(std::string_view word, const std::vector<std::string>& known);

}  // namespace tobrel
