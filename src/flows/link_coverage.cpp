#include "flows/link_coverage.h"

#include "text/path.h"

namespace tobrel {

std::optional<TobrelActionViewController::PendingLink> linkCoverage(const std::vector<std::string>& fileKeys,
                                                                    const std::vector<std::string>& folderPaths) {
    if (fileKeys.empty()) {
        if (folderPaths.size() != 1) return std::nullopt;
        const std::string& folder = folderPaths.front();
        return {{.name = std::string(lastPathComponent(folder)), .prefix = folder}};
    }
    std::string name = fileKeys.size() == 1 ? std::string(lastPathComponent(fileKeys.front()))
                                            : std::to_string(fileKeys.size()) + " files from Tobrel";
    if (!folderPaths.empty()) name += " (folders skipped)";
    return {{.name = std::move(name), .keys = fileKeys}};
}

}  // namespace tobrel
