#pragma once

#include <optional>
#include <string>
#include <variant>

// What the command line asks for in the place of a user who reads the sheet.
namespace tobrel::batch {

// A live link is taken as it is unless one of the members asks for a new one.
struct ShareLink {
    // As typed into the form, which takes it.
    std::optional<std::string> days;
    bool withoutExpiry = false;
    bool asNewLink = false;
};

struct ShareWith {
    std::string email;
    bool mayEdit = false;
};

struct ListSharing {};

struct StopSharing {
    std::string email;
};

struct Leave {};

struct OpenPage {};

// A command without a sheet that waits.
struct NoQuestion {};

using Task = std::variant<NoQuestion, ShareLink, ShareWith, ListSharing, StopSharing, Leave, OpenPage>;

}  // namespace tobrel::batch
