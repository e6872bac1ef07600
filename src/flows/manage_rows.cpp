#include "flows/manage_rows.h"

#include "text/json.h"

namespace tobrel {

namespace {

constexpr const char* separator = "  ·  ";

std::string text(const boost::json::object& object, const char* member, const char* missing) {
    return json::string(object, member).value_or(missing);
}

ManageRow givenRow(const boost::json::object& grant) {
    bool canEdit = json::string(grant, "role") == "write";
    return {.text = text(grant, "email", "?") + separator + (canEdit ? "can edit" : "view only"),
            .button = {{Revocation::stopSharing, text(grant, "id", "")}}};
}

ManageRow receivedRow(const boost::json::object& grant) {
    bool canEdit = json::string(grant, "role") == "write";
    std::string owner = text(grant, "owner_email", "?");
    std::string origin = json::boolean(grant, "is_top").value_or(false)
                             ? "Shared with you by " + owner
                             : "Inside “" + text(grant, "folder_name", "") + "”, shared with you by " + owner;
    return {.text = origin + separator + (canEdit ? "you can edit" : "view only"),
            .button = {{Revocation::leave, text(grant, "id", "")}}};
}

}  // namespace

std::vector<ManageRow> manageRows(const std::string& folderName, const boost::json::object& answer) {
    std::vector<ManageRow> rows{{.style = ManageRow::Style::title, .text = "Sharing for “" + folderName + "”"}};
    auto given = json::objects(answer, "given");
    for (auto* grant : given) rows.push_back(givenRow(*grant));
    if (given.empty() && json::string(answer, "role") == "owner")
        rows.push_back({.style = ManageRow::Style::note, .text = "Not shared with anyone yet."});
    if (auto* received = json::object(answer, "received")) rows.push_back(receivedRow(*received));
    return rows;
}

}  // namespace tobrel
