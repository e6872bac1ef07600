#include "platform/linux_online/browser_on_demand.h"

#include <cstdlib>

#include "platform/linux_online/modules.h"
#include "text/url.h"

namespace tobrel {

bool BrowserOnDemand::openURL(const std::string& url) {
    if (!isWebAddress(url)) return false;
    for (const char* name : {"BROWSER", "DISPLAY", "WAYLAND_DISPLAY"})
        if (const char* value = std::getenv(name); value && *value) return sessionModule().openURL(url);
    return false;
}

}  // namespace tobrel
