#pragma once

#include <boost/json/fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace tobrel {

// The values are the buttons' tags.
enum class Revocation { stopSharing = 0, leave = 1 };

struct ManageRow {
    enum class Style { title, plain, note };
    struct Button {
        Revocation kind;
        // Empty where the server named none.
        std::string grantID;
        bool operator==(const Button&) const = default;
    };

    Style style = Style::plain;
    std::string text;
    std::optional<Button> button;
    bool operator==(const ManageRow&) const = default;
};

// The list for a folder of that name, from top to bottom, by the server's answer about its grants. A member of another
// type than expected counts as missing, an array with even one element that is no object as well.
std::vector<ManageRow> manageRows(const std::string& folderName, const boost::json::object& answer);

}  // namespace tobrel
