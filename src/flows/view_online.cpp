#include "api/api.h"
#include "dispatch/action_view_controller.h"
#include "flows/web_address.h"
#include "platform/desktop.h"
#include "platform/main_queue.h"
#include "platform/platform.h"
#include "state/config.h"

namespace tobrel {

void TobrelActionViewController::viewOnline(const ItemIdentifiers& resolved) {
    if (resolved.empty() || resolved.front() == "root") return openPage("");
    if (resolved.front() == "shared") return openPage("Shared with me");
    API::lookup(resolved.front(), [self = self()](const API::Item& item) {
        if (item.error) return self->show(*item.error);
        std::string path = item.path.value_or("");
        self->openPage(item.isFolder ? path : std::string(parentPath(path)));
    });
}

std::optional<URL> TobrelActionViewController::onlineURL(const std::string& path) {
    return webAddress(Config::server(), path, platform::online().text);
}

void TobrelActionViewController::openPage(std::string path) {
    platform::request().mainQueue.async([self = self(), path = std::move(path)] {
        auto url = onlineURL(path);
        bool opens = url && isWebAddress(url->absoluteString());
        if (opens) platform::desktop().workspace.openURL(url->absoluteString());
        self->label->setStringValue(opens ? "Opened in your browser." : API::notSetUp);
        self->done->setHidden(true);
        self->autoDismiss = true;
        self->extensionContext().completeRequest();
    });
}

}  // namespace tobrel
