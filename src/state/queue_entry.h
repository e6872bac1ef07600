#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// One request as JSON text: {"id":"...","pin":true}.
std::string queueEntry(std::string_view identifier, bool pinned);

// How much of the text, from its beginning, is such entries with commas between them, their identifiers being plain
// ASCII. Several times faster than parsing, and most entries of a queue are these.
std::size_t plainEntriesLength(std::string_view text);

}  // namespace tobrel
