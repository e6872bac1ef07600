#pragma once

#include "platform/desktop.h"

namespace tobrel {

// The programs that BROWSER names, else the desktop's program for the address's scheme. The browser runs on its own:
// it outlives this process, even one that ends at once.
class GioBrowser : public NSWorkspace {
public:
    // False where there is neither a usable BROWSER nor a display with such a program, or what there is fails within a
    // tenth of a second, for which this call waits.
    bool openURL(const std::string& url) override;
};

}  // namespace tobrel
