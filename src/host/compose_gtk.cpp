#include "host/compose_gtk.h"

#include "dispatch/action_id.h"
#include "frontends/gtk/clipboard.h"
#include "frontends/gtk/gtk_front_end.h"
#include "host/options.h"
#include "platform/linux_online/session/main_loop_glib.h"

namespace tobrel::host {

std::unique_ptr<MainLoop> makeGlibLoop() {
    return std::make_unique<GlibMainLoop>();
}

std::unique_ptr<FrontEnd> makeGtkFrontEnd(const Options& options, NSWorkspace& browser) {
    // What ends by itself would flash a window whose progress was shown just before its end.
    bool endsByItself = options.actionIdentifier == ActionID::online;
    return std::make_unique<GtkFrontEnd>(browser, std::chrono::milliseconds(endsByItself ? 1000 : 200));
}

bool clipboardNeedsProcess() {
    return gtk::clipboardNeedsProcess();
}

void holdClipboard() {
    gtk::holdClipboard();
}

}  // namespace tobrel::host
