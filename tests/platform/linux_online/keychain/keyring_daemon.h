#pragma once

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

#include "platform/file_descriptor.h"
#include "support/program.h"
#include "support/temporary_folder.h"

namespace tobrel::testing {

// A session bus for this process, on which nothing is started on demand.
class SessionBus {
public:
    static SessionBus& shared() {
        static SessionBus bus;
        return bus;
    }

    std::string address() const { return g_test_dbus_get_bus_address(daemon_); }

    void waitForOwner(const std::string& name, bool owned) {
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (ask("NameHasOwner", g_variant_new("(s)", name.c_str()), "(b)") != owned) {
            ASSERT_LT(std::chrono::steady_clock::now(), deadline) << name;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }

    // Takes the name of the program that asks the user for passwords, and never answers it.
    void ownMutePrompter() {
        ask("RequestName", g_variant_new("(su)", "org.gnome.keyring.SystemPrompter", 4u), "(u)");
        auto swallow = [](GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer) {
            bool isCall = g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_METHOD_CALL;
            if (!incoming || !isCall) return message;
            g_object_unref(message);
            return static_cast<GDBusMessage*>(nullptr);
        };
        g_dbus_connection_add_filter(connection_, swallow, nullptr, nullptr);
    }

    // Without the wait of GTestDBus for libraries that keep their connections.
    void end() { g_test_dbus_stop(daemon_); }

private:
    SessionBus() {
        g_test_dbus_up(daemon_);
        constexpr int flags =
            G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION;
        connection_ = g_dbus_connection_new_for_address_sync(
            address().c_str(), static_cast<GDBusConnectionFlags>(flags), nullptr, nullptr, nullptr);
    }
    ~SessionBus() {
        g_object_unref(connection_);
        end();
    }

    // The number or truth that the bus answers.
    unsigned ask(const char* method, GVariant* arguments, const char* type) {
        GVariant* reply = g_dbus_connection_call_sync(connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                      "org.freedesktop.DBus", method, arguments, G_VARIANT_TYPE(type),
                                                      G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
        if (!reply) return 0;
        unsigned value = 0;
        g_variant_get(reply, type, &value);
        g_variant_unref(reply);
        return value;
    }

    GTestDBus* const daemon_ = g_test_dbus_new(G_TEST_DBUS_NONE);
    GDBusConnection* connection_ = nullptr;
};

// The desktop's real secret service, with a home folder of its own in which its keyring stays.
class KeyringDaemon {
public:
    enum class Keyring { unlocked, locked };

    KeyringDaemon(const TemporaryFolder& home, Keyring keyring) : home_(home), program_(words(keyring)) {
        if (keyring == Keyring::unlocked) program_.write("password");
        program_.endInput();
        SessionBus::shared().waitForOwner("org.freedesktop.secrets", true);
    }
    ~KeyringDaemon() {
        program_.kill(SIGCONT);
        program_.kill(SIGTERM);
        program_.wait();
        SessionBus::shared().waitForOwner("org.freedesktop.secrets", false);
    }

    void suspend() { program_.kill(SIGSTOP); }
    void resume() { program_.kill(SIGCONT); }
    // Gives the password, as a login does, to the daemon's control socket.
    void unlock() {
        sockaddr_un address{.sun_family = AF_UNIX};
        home_.file("control").copy(address.sun_path, sizeof address.sun_path - 1);
        FileDescriptor control(socket(AF_UNIX, SOCK_STREAM, 0));
        ASSERT_EQ(connect(control.number(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        // A byte for the credentials; then the lengths of the whole and of the password, around the operation.
        using namespace std::string_literals;
        std::string message = "\0\0\0\0\x14\0\0\0\1\0\0\0\x08password"s;
        ASSERT_EQ(send(control.number(), message.data(), message.size(), 0), static_cast<ssize_t>(message.size()));
        char answer[8];
        ASSERT_EQ(recv(control.number(), answer, sizeof answer, MSG_WAITALL), 8);
    }

private:
    std::vector<std::string> words(Keyring keyring) const {
        const std::string path = home_.path();
        std::vector<std::string> words{"env",
                                       "DBUS_SESSION_BUS_ADDRESS=" + SessionBus::shared().address(),
                                       "HOME=" + path,
                                       "XDG_RUNTIME_DIR=" + path,
                                       "gnome-keyring-daemon",
                                       "--foreground",
                                       "--components=secrets",
                                       "--control-directory=" + path};
        if (keyring == Keyring::unlocked) words.push_back("--unlock");
        return words;
    }

    const TemporaryFolder& home_;
    Program program_;
};

}  // namespace tobrel::testing
