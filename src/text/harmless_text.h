#pragma once

#include <string>
#include <string_view>

namespace tobrel {

// The text as it may go to a terminal or into one line of output: control characters (line breaks and tabs too)
// become their pictures, direction overrides and isolates, line separators and bytes that are no UTF-8 become U+FFFD;
// direction marks, which dates and names in some scripts need, stay. Always valid UTF-8; whoever wants lines splits
// before. Any thread.
std::string harmless(std::string_view text);

// The same between curly quotation marks.
std::string inQuotes(std::string_view text);

}  // namespace tobrel
