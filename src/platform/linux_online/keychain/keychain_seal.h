#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tobrel {

// Encrypted and authenticated under a key derived from the secret, in a text of its own format.
// Nothing where the system gives no randomness.
std::optional<std::string> seal(std::string_view text, std::string_view secret);
// Nothing for what was not sealed with this secret, or was changed since.
std::optional<std::string> unseal(std::string_view sealed, std::string_view secret);

}  // namespace tobrel
