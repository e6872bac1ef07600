#include "file_managers/launch.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/temporary_folder.h"

namespace tobrel::menu {

namespace {

using tobrel::testing::TemporaryFolder;

// The desktop's notification service on a bus of its own: keeps what it was asked to show.
class NotificationService {
public:
    NotificationService() {
        g_test_dbus_up(bus_);
        GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(
            "<node><interface name='org.freedesktop.Notifications'><method name='Notify'>"
            "<arg type='s' direction='in'/><arg type='u' direction='in'/><arg type='s' direction='in'/>"
            "<arg type='s' direction='in'/><arg type='s' direction='in'/><arg type='as' direction='in'/>"
            "<arg type='a{sv}' direction='in'/><arg type='i' direction='in'/><arg type='u' direction='out'/>"
            "</method></interface></node>",
            nullptr);
        connection_ = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        g_dbus_connection_set_exit_on_close(connection_, FALSE);
        static const GDBusInterfaceVTable methods{
            [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* words,
               GDBusMethodInvocation* call, gpointer self) {
                const char *title = nullptr, *body = nullptr;
                g_variant_get_child(words, 3, "&s", &title);
                g_variant_get_child(words, 4, "&s", &body);
                static_cast<NotificationService*>(self)->shown += std::string(title) + ": " + body + "\n";
                g_dbus_method_invocation_return_value(call, g_variant_new("(u)", 1U));
            },
            nullptr,
            nullptr,
            {}};
        g_dbus_connection_register_object(connection_, "/org/freedesktop/Notifications", node->interfaces[0], &methods,
                                          this, nullptr, nullptr);
        GVariant* answer =
            g_dbus_connection_call_sync(connection_, "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                                        g_variant_new("(su)", "org.freedesktop.Notifications", 0U), nullptr,
                                        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        g_variant_unref(answer);
        g_dbus_node_info_unref(node);
    }
    ~NotificationService() {
        g_object_unref(connection_);
        g_test_dbus_stop(bus_);
        g_object_unref(bus_);
    }
    std::string shown;

private:
    GTestDBus* const bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
    GDBusConnection* connection_ = nullptr;
};

}  // namespace

TEST(Launch, TellsOnTheDesktopWhyACommandCouldNotBeginAndElseNothing) {
    TemporaryFolder folder;
    NotificationService desktop;
    const std::string program = folder.file("bin/tobrel-action");
    auto shownFor = [&](const std::string& script) {
        std::filesystem::create_directories(folder.path() / "bin");
        tobrel::testing::writeFile(program, "#!/bin/sh\ncat >/dev/null\necho noise\n" + script);
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        bool ended = false;
        desktop.shown.clear();
        launch(*commandOf("share"), {actionProgram(folder.file("lib/a/b.so")), std::string("/x\0", 3), ""},
               [&] { ended = true; });
        while (!ended) g_main_context_iteration(nullptr, TRUE);
        return desktop.shown;
    };
    const struct {
        const char* script;
        const char* shown;
    } cases[] = {
        {"echo 'tobrel-action: <b> & \xff is not registered' >&2; echo more >&2; exit 3",
         "Share link: &lt;b&gt; &amp; \xEF\xBF\xBD is not registered\n"},
        {"exit 4", "Share link: it ended without saying why; tobrel-admin doctor may know\n"},
        {"echo harmless >&2; exit 0", ""},
        {"echo 'tobrel-action: it may be done' >&2; exit 0", "Share link: it may be done\n"},
        {"kill -TERM $$", ""},
    };
    for (const auto& [script, shown] : cases) EXPECT_EQ(shownFor(script), shown) << script;
}

}  // namespace tobrel::menu
