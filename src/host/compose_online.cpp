#include "host/compose_online.h"

#include "platform/linux_online/browser_on_demand.h"
#include "platform/linux_online/online_parts.h"

namespace tobrel::host {

std::unique_ptr<OnlineParts> makeOnlineParts(const Options& options, UserDatabase& users) {
    auto parts = std::make_unique<LinuxOnlineParts>(users, options.home.has_value());
    parts->prepareKey();
    return parts;
}

std::unique_ptr<NSWorkspace> makeBrowser() {
    return std::make_unique<BrowserOnDemand>();
}

}  // namespace tobrel::host
