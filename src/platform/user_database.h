#pragma once

#include <optional>
#include <string>

namespace tobrel {

// Looked up afresh at each call. Any thread.
class UserDatabase {
public:
    virtual ~UserDatabase() = default;
    // The home-directory field of the real user's entry; nothing without an entry or when the field is not set.
    virtual std::optional<std::string> homeDirectory() = 0;
    // The platform's own idea of the home folder.
    virtual std::string NSHomeDirectory() = 0;
};

}  // namespace tobrel
