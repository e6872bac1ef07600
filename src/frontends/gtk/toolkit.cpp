#include "frontends/gtk/toolkit.h"

#include <gtk/gtk.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

#include <cstdlib>
#include <vector>

#include "frontends/gtk/gobject.h"

namespace tobrel::gtk {

namespace {

std::string token;
std::vector<const char*> ownVariables;

std::string valueOf(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

void setUnlessSet(const char* name, const char* value) {
    if (!valueOf(name).empty()) return;
    setenv(name, value, 1);
    ownVariables.push_back(name);
}

GLogWriterOutput writeNothing(GLogLevelFlags level, const GLogField* fields, gsize count, gpointer) {
    if (level & G_LOG_FLAG_FATAL) return g_log_writer_default(level, fields, count, nullptr);
    return G_LOG_WRITER_HANDLED;
}

bool waylandAnswers() {
    if (valueOf("WAYLAND_DISPLAY").empty() && valueOf("WAYLAND_SOCKET").empty()) return false;
    // The inherited connection can be taken once only.
    if (!valueOf("WAYLAND_SOCKET").empty()) return true;
    wl_display* display = wl_display_connect(nullptr);
    if (display) wl_display_disconnect(display);
    return display;
}

bool x11Answers() {
    if (valueOf("DISPLAY").empty()) return false;
    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

// The toolkit itself reads the desktop's dark style from 4.20 on.
void followDarkStyle() {
    GSettingsSchemaSource* source = g_settings_schema_source_get_default();
    if (!source) return;
    GSettingsSchema* schema = g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", true);
    if (!schema) return;
    if (g_settings_schema_has_key(schema, "color-scheme")) {
        Object<GSettings> settings(g_settings_new_full(schema, nullptr, nullptr));
        std::unique_ptr<char, Free> scheme(g_settings_get_string(settings.get(), "color-scheme"));
        if (std::string_view(scheme.get()) == "prefer-dark")
            g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", TRUE, nullptr);
    }
    g_settings_schema_unref(schema);
}

}  // namespace

void prepareToolkit() {
    // Starting a GL context takes longer than all drawing of a sheet without one.
    if (valueOf("GSK_RENDERER").empty()) {
        setUnlessSet("GSK_RENDERER", "cairo");
        if (gtk_get_minor_version() >= 16)
            setUnlessSet("GDK_DISABLE", "gl,vulkan");
        else
            setUnlessSet("GDK_DEBUG", "gl-disable");
    }
    // A sheet reads nothing but local files; the desktop's way to others is a library and a connection more.
    setUnlessSet("GIO_USE_VFS", "local");
    for (const char* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        if (token.empty()) token = valueOf(name);
        unsetenv(name);
    }
    if (valueOf("G_MESSAGES_DEBUG").empty()) g_log_set_writer_func(writeNothing, nullptr, nullptr);
}

void restoreEnvironment() {
    for (const char* name : ownVariables) unsetenv(name);
    ownVariables.clear();
}

bool hasDisplay() {
    // A handshake takes a fraction of the toolkit's start, which can then go on beside the request's first questions.
    bool anyBackend = valueOf("GDK_BACKEND").empty();
    return (anyBackend && (waylandAnswers() || x11Answers())) || startToolkit();
}

bool isStarted() {
    return gtk_is_initialized();
}

bool startToolkit() {
    static const bool started = [] {
        if (!gtk_init_check()) return false;
        followDarkStyle();
        return true;
    }();
    return started;
}

const std::string& activationToken() {
    return token;
}

}  // namespace tobrel::gtk
