#pragma once

#include <optional>
#include <string>

namespace tobrel::admin {

// What standard input holds, up to its end; on a terminal one line, typed without echo behind the prompt. One final
// line break is not part of it. Nothing where it cannot be read or is larger than any secret.
std::optional<std::string> readSecret(const std::string& prompt);

}  // namespace tobrel::admin
