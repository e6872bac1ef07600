#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct gcry_mpi;

namespace tobrel {

// One end of the Secret Service's encrypted transport. Throws where the library finds no memory.
class SecretSession {
public:
    static constexpr const char* algorithm = "dh-ietf1024-sha256-aes128-cbc-pkcs7";

    SecretSession();
    ~SecretSession();
    SecretSession(const SecretSession&) = delete;
    SecretSession& operator=(const SecretSession&) = delete;

    // What the other end is told.
    std::string publicKey() const;
    // Takes what the other end tells; false where that is no key.
    bool agree(const std::string& publicKey);

    struct Sealed {
        std::string parameters;
        std::string value;
    };
    Sealed seal(std::string secret) const;
    // Nothing where the other end did not seal it.
    std::optional<std::string> open(const Sealed& sealed) const;

private:
    struct Release {
        void operator()(gcry_mpi* number) const;
    };
    using Number = std::unique_ptr<gcry_mpi, Release>;
    // As long as the prime.
    std::string power(gcry_mpi* base) const;

    Number prime_;
    Number exponent_;
    std::array<char, 16> key_{};
};

}  // namespace tobrel
