#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/platform.h"

namespace tobrel::testing {

// The real files and user database over one home folder, installed while it lives. Nothing else of the platform is
// there: whoever touches more ends the program.
class LocalPlatform {
public:
    explicit LocalPlatform(const std::string& home, std::chrono::milliseconds lockPatience = std::chrono::seconds(5));
    ~LocalPlatform();

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace tobrel::testing
