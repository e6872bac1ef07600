#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/options.h"

namespace tobrel::host {

// All items of the command line, those of the --items-from files behind the others.
std::variant<std::vector<std::string>, UsageError> allItems(const Options& options);

// Adds the items of a file's content, and stops where there are more than a command may have.
void addItems(std::vector<std::string>& items, std::string_view content, bool endWithNul);

}  // namespace tobrel::host
