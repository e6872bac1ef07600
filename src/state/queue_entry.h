#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// Adds one request as JSON text: {"id":"...","pin":true}.
void addQueueEntry(std::string& text, std::string_view identifier, bool pinned);

// The length of the entries that the text begins with, a comma between each two, where addQueueEntry made them of
// identifiers in plain ASCII; else 0. Several times faster than parsing, and most entries of a queue are these.
std::size_t ownEntriesLength(std::string_view text);

// Copies the JSON objects that the text begins with to `to`, without white space and with a comma between each two, and
// moves `to` behind them. Takes objects of text, plain numbers, true, false and null that end in the text, and leaves
// everything else to a parser. Their length in the text; 0 where it took none. Writes up to 8 bytes behind the copy,
// which has room for all of the text.
std::size_t copySimpleObjects(std::string_view text, char*& to);
// Where the first of such objects ends in the copy.
std::size_t simpleObjectLength(std::string_view copied);

// How much of the text, from its beginning, is ASCII that stands for itself in a JSON string.
std::size_t plainLength(std::string_view text);

}  // namespace tobrel
