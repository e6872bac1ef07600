#include "admin/compose.h"

#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/linux_online/online_parts.h"
#include "platform/platform.h"

namespace tobrel::admin {

namespace {

// Whoever sets or asks for a key is there to answer the keyring's question.
constexpr SecretServiceBounds patient{.unlock = std::chrono::seconds(60)};

}  // namespace

struct Composition::Parts {
    explicit Parts(const Invocation& invocation)
        : users(invocation.home), online(users, invocation.home.has_value(), patient) {}

    PosixUserDatabase users;
    PosixFiles files;
    LinuxOnlineParts online;
    InfoDictionary infoDictionary{{"CFBundleShortVersionString", TOBREL_VERSION},
                                  {"CFBundleExecutable", "tobrel-admin"}};
    const platform::Installation installation{
        {users, files},
        {},
        {{online.urlSession(), online.requestQueue(), online.keychain(), online.text(), infoDictionary}}};
};

Composition::Composition(const Invocation& invocation) : parts_(std::make_unique<Parts>(invocation)) {}

Composition::~Composition() = default;

UserDatabase& Composition::users() {
    return parts_->users;
}
Files& Composition::files() {
    return parts_->files;
}
LinuxKeychain& Composition::keychain() {
    return parts_->online.keychain();
}
TextServices& Composition::text() {
    return parts_->online.text();
}
URLSession& Composition::urlSession() {
    return parts_->online.urlSession();
}

}  // namespace tobrel::admin
