#pragma once

#include "platform/desktop.h"

namespace tobrel {

// The session's browser, whose libraries are loaded where there may be one.
class BrowserOnDemand : public NSWorkspace {
public:
    // False for what is no web address, too.
    bool openURL(const std::string& url) override;
};

}  // namespace tobrel
