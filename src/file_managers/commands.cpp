#include "file_managers/commands.h"

#include <algorithm>
#include <string_view>

namespace tobrel::menu {

const Command* commandOf(const char* word) {
    auto* found = std::find_if(commands.begin(), commands.end(),
                               [&](const Command& command) { return std::string_view(command.word) == word; });
    return found == commands.end() ? nullptr : found;
}

bool applies(const Command& command, std::size_t items, bool firstIsFolder) {
    if (command.rule == Rule::anything) return items > 0;
    return items == 1 && (command.rule == Rule::oneItem || firstIsFolder);
}

}  // namespace tobrel::menu
