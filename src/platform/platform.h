#pragma once

#include "platform/bundle.h"

namespace tobrel {

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

// The world as every command needs it.
struct Platform {
    UserDatabase& users;
    Files& files;
    OSLogSink& log;
    MainQueue& mainQueue;
    NSFileProviderManagers& fileProvider;
};

// What only the commands that talk to the server and to the user need besides.
struct Online {
    URLSession& urlSession;
    Keychain& keychain;
    TextServices& text;
    NSPasteboard& pasteboard;
    NSWorkspace& workspace;
    NSSound& sound;
    // The program's own, as Bundle.main gives it.
    const InfoDictionary& infoDictionary;
};

// What has been installed. Installed once, before any use, by the host's compose or by a test's fixture, and alive
// until the last callback has run. Any thread.
const Platform& current();
const Online& online();

void install(const Platform* platform, const Online* online);

}  // namespace platform
}  // namespace tobrel
