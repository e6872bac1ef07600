#include "file_managers/notification.h"

#include <gio/gio.h>

#include <memory>

namespace tobrel::menu {

namespace {

struct Note {
    std::string title;
    std::string text;
    std::function<void()> ended;
    ~Note() {
        if (ended) ended();
    }
};

void sent(GObject* bus, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Note> note(static_cast<Note*>(data));
    if (GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr))
        g_variant_unref(answer);
}

void connected(GObject*, GAsyncResult* result, gpointer data) {
    std::unique_ptr<Note> note(static_cast<Note*>(data));
    GDBusConnection* bus = g_bus_get_finish(result, nullptr);
    if (!bus) return;
    char* valid = g_utf8_make_valid(note->text.c_str(), -1);
    // The service reads it as markup.
    char* body = g_markup_escape_text(valid, -1);
    GVariant* words =
        g_variant_new("(susssasa{sv}i)", "Tobrel", 0U, "tobrel", note->title.c_str(), body, nullptr, nullptr, -1);
    constexpr const char* service = "org.freedesktop.Notifications";
    g_dbus_connection_call(bus, service, "/org/freedesktop/Notifications", service, "Notify", words, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, sent, note.release());
    g_free(body);
    g_free(valid);
    g_object_unref(bus);
}

}  // namespace

void notify(std::string title, std::string text, std::function<void()> ended) {
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, connected, new Note{std::move(title), std::move(text), std::move(ended)});
}

}  // namespace tobrel::menu
