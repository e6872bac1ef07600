#include "platform/linux_online/online_parts.h"

#include "platform/linux_online/http/curl_session.h"
#include "platform/linux_online/memory/secret_memory.h"

namespace tobrel {

LinuxOnlineParts::LinuxOnlineParts(UserDatabase& users, bool homeIsGiven, const SecretServiceBounds& bounds)
    : keychain_(makeKeychain(users, homeIsGiven, bounds)), urlSession_(std::make_unique<CurlURLSession>()) {
    guardMemory();
}

LinuxOnlineParts::~LinuxOnlineParts() = default;

void LinuxOnlineParts::prepareKey() {
    requestQueue_.async([this](std::any&) { keychain_->prepare(); });
}

void LinuxOnlineParts::endRequests() {
    keychain_->interrupt();
    requestQueue_.end();
    urlSession_.reset();
}

}  // namespace tobrel
