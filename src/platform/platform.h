#pragma once

#include <optional>

#include "platform/bundle.h"

namespace tobrel {

class BatchQueue;
class Files;
class Keychain;
class MainQueue;
class NSFileProviderManagers;
class NSPasteboard;
class NSSound;
class NSWorkspace;
class OSLogSink;
class TextServices;
class URLSession;
class UserDatabase;

namespace platform {

// What every program needs: the user's folders.
struct Platform {
    UserDatabase& users;
    Files& files;
    // Null: log lines go nowhere.
    OSLogSink* log = nullptr;
};

// What a request of the file actions needs besides.
struct Request {
    MainQueue& mainQueue;
    NSFileProviderManagers& fileProvider;
};

// What only those need that talk to the server.
struct Online {
    URLSession& urlSession;
    // Where requests are built.
    BatchQueue& requestQueue;
    Keychain& keychain;
    TextServices& text;
    // The program's own, as Bundle.main gives it.
    const InfoDictionary& infoDictionary;
};

// What only the sheets of the server's commands need.
struct Desktop {
    NSPasteboard& pasteboard;
    NSWorkspace& workspace;
    NSSound& sound;
};

// Installs the given parts for its life; one at a time. Made before any use, by a program's compose or by a test's
// fixture, and destroyed after the last callback has run.
class Installation {
public:
    explicit Installation(const Platform& platform, std::optional<Request> request = {},
                          std::optional<Online> online = {}, std::optional<Desktop> desktop = {});
    ~Installation();
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;
};

// What has been installed; the process ends where the asked part has not been. Any thread.
const Platform& current();
const Request& request();
const Online& online();
const Desktop& desktop();

}  // namespace platform
}  // namespace tobrel
