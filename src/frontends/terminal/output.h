#pragma once

#include <string_view>

namespace tobrel::terminal {

// Writes it whole; gives up where the reader has gone or takes nothing more for a few seconds.
bool writeAll(int descriptor, std::string_view bytes);

}  // namespace tobrel::terminal
