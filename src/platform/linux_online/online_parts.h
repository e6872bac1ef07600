#pragma once

#include <memory>

#include "platform/linux_online/batch_queue_thread.h"
#include "platform/linux_online/keychain/keychain_linux.h"
#include "platform/linux_online/text_linux.h"
#include "platform/online_parts.h"

namespace tobrel {

// Both programs make theirs here.
class LinuxOnlineParts : public OnlineParts {
public:
    // With a home folder given in place of the user's own, the keychain is a file below it.
    LinuxOnlineParts(UserDatabase& users, bool homeIsGiven, const SecretServiceBounds& bounds = {});
    ~LinuxOnlineParts() override;

    URLSession& urlSession() override { return *urlSession_; }
    BatchQueue& requestQueue() override { return requestQueue_; }
    LinuxKeychain& keychain() override { return *keychain_; }
    TextServices& text() override { return text_; }
    void endRequests() override;
    // For a command that surely needs the key: gets ready for its reading while all else is being looked up.
    void prepareKey();

private:
    const std::unique_ptr<LinuxKeychain> keychain_;
    LinuxTextServices text_;
    std::unique_ptr<URLSession> urlSession_;
    ThreadBatchQueue requestQueue_;
};

}  // namespace tobrel
