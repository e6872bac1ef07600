#pragma once

#include <string_view>

#include "platform/linux/file_provider/registry.h"

namespace tobrel::admin {

// Adds an item for each line, ITEM, a tab and PATH, up to the first that is refused. Tells a terminal how far it is.
Outcome<Done> importLines(FileProviderRegistry::ItemEdit& edit, std::string_view lines);

}  // namespace tobrel::admin
