#include "host/compose_gtk.h"

#include "frontends/gtk/clipboard.h"
#include "frontends/gtk/gtk_front_end.h"
#include "platform/linux_online/main_loop_glib.h"

namespace tobrel::host {

std::unique_ptr<MainLoop> makeGlibLoop() {
    return std::make_unique<GlibMainLoop>();
}

std::unique_ptr<FrontEnd> makeGtkFrontEnd(const Options&, NSWorkspace& browser) {
    return std::make_unique<GtkFrontEnd>(browser);
}

bool clipboardNeedsProcess() {
    return gtk::clipboardNeedsProcess();
}

void holdClipboard() {
    gtk::holdClipboard();
}

}  // namespace tobrel::host
