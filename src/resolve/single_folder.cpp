#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "platform/main_queue.h"
#include "platform/platform.h"
#include "text/path.h"

namespace tobrel {

void TobrelActionViewController::singleFolder(const ItemIdentifiers& resolved, FolderContinuation continuation) {
    if (resolved.empty()) return show("Select a folder first.");
    if (resolved.size() > 1) return show("Select a single folder.");
    const std::string& id = resolved.front();
    if (id == "shared")
        return show(
            "“Shared with me” holds folders other people share with you.\n"
            "Choose a folder inside it, or one of your own.");

    API::lookup(id, [self = self(), id, continuation = std::move(continuation)](const API::Item& item) {
        if (item.error) return self->show(*item.error);
        if (!item.isFolder) return self->show("Only folders can be shared with other Tobrel users.");
        std::string name(lastPathComponent(item.path.value_or("")));
        if (name.empty()) name = "this folder";
        platform::request().mainQueue.async([continuation, id, name] { continuation(id, name); });
    });
}

}  // namespace tobrel
