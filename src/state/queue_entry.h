#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// One request as JSON text: {"id":"...","pin":true}.
std::string queueEntry(std::string_view identifier, bool pinned);

// The length of the entry that the text begins with, where queueEntry made it of an identifier in plain ASCII; else 0.
// Several times faster than parsing, and most entries of a queue are these.
std::size_t ownEntryLength(std::string_view text);
// That of all such entries at the beginning, with a comma between each two.
std::size_t ownEntriesLength(std::string_view text);

// Copies the JSON object that the text begins with to `to`, without the white space between its tokens, and moves `to`
// behind it. Takes objects of text, plain numbers, true, false and null that end in the text, and leaves everything
// else to a parser. The length of the object in the text; 0 where it did not take it. Writes up to 8 bytes behind the
// copy, which has room for all of the text.
std::size_t copySimpleObject(std::string_view text, char*& copy);

// How much of the text, from its beginning, is ASCII that stands for itself in a JSON string.
std::size_t plainLength(std::string_view text);

}  // namespace tobrel
