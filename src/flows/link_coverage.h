#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dispatch/action_view_controller.h"

namespace tobrel {

// What a link for these files and folders covers and is called: the files, or else a folder that stands alone.
// Nothing where neither can be shared.
std::optional<TobrelActionViewController::PendingLink> linkCoverage(const std::vector<std::string>& fileKeys,
                                                                    const std::vector<std::string>& folderPaths);

}  // namespace tobrel
