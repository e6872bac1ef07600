#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tobrel::terminal {

// How text fills a terminal's columns, whatever the process's locale. Text is UTF-8 without control characters.

int columnsOf(std::string_view text);

// The bytes of the first character with everything that combines with it; 0 for "".
std::size_t firstCharacter(std::string_view text);
// The bytes of the last one.
std::size_t lastCharacter(std::string_view text);

// The longest beginning, or ending, of whole characters that fits.
std::string_view prefixWithin(std::string_view text, int columns);
std::string_view suffixWithin(std::string_view text, int columns);

// At most so many lines (0: no limit), broken at spaces where there are any, with "…" in the middle where they are too
// few. At least one line.
std::vector<std::string> fitted(std::string_view text, int columns, int maximumLines);

std::string padded(std::string text, int columns);

}  // namespace tobrel::terminal
