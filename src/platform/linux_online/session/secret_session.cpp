#include "platform/linux_online/session/secret_session.h"

#include <gcrypt.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <system_error>
#include <type_traits>

namespace tobrel {

namespace {

// The second group of RFC 2409; its generator is 2.
constexpr const char* prime =
    "FFFFFFFFFFFFFFFFC90FDAA22168C234C4C6628B80DC1CD129024E088A67CC74020BBEA63B139B22514A08798E3404DDEF9519B3CD3A431B"
    "302B0A6DF25F14374FE1356D6D51C245E485B576625E7EC6F44C42E9A637ED6B0BFF5CB6F406B7EDEE386BFB5A899FA5AE9F24117C4B1FE6"
    "49286651ECE65381FFFFFFFFFFFFFFFF";
constexpr std::size_t primeBytes = 128;
// 256 bits: more than twice what the group withstands, and a quarter of the work of an exponent as long as the prime.
constexpr std::size_t exponentBytes = 32;
constexpr std::size_t block = 16;

std::string randomBytes(std::size_t count) {
    std::string bytes(count, '\0');
    if (getentropy(bytes.data(), count) != 0) throw std::system_error(errno, std::generic_category());
    return bytes;
}

void require(gcry_error_t error) {
    if (error != 0) throw std::bad_alloc();
}

gcry_mpi_t scan(gcry_mpi_format format, const char* bytes, std::size_t length) {
    gcry_mpi_t number = nullptr;
    require(gcry_mpi_scan(&number, format, bytes, length, nullptr));
    return number;
}

using Digest = std::array<char, 32>;

Digest hmac(std::string_view key, std::string_view text) {
    std::array<gcry_buffer_t, 2> parts{};
    parts[0].data = const_cast<char*>(key.data());
    parts[0].len = key.size();
    parts[1].data = const_cast<char*>(text.data());
    parts[1].len = text.size();
    Digest digest;
    require(gcry_md_hash_buffers(GCRY_MD_SHA256, GCRY_MD_FLAG_HMAC, digest.data(), parts.data(), parts.size()));
    return digest;
}

struct CloseCipher {
    void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};
using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, CloseCipher>;

Cipher openCipher(const std::array<char, block>& key, const std::string& start) {
    gcry_cipher_hd_t opened = nullptr;
    require(gcry_cipher_open(&opened, GCRY_CIPHER_AES128, GCRY_CIPHER_MODE_CBC, 0));
    Cipher cipher(opened);
    require(gcry_cipher_setkey(opened, key.data(), key.size()));
    require(gcry_cipher_setiv(opened, start.data(), start.size()));
    return cipher;
}

}  // namespace

void SecretSession::Release::operator()(gcry_mpi* number) const {
    gcry_mpi_release(number);
}

SecretSession::SecretSession() {
    if (!gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) {
        gcry_check_version(nullptr);
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
    }
    prime_.reset(scan(GCRYMPI_FMT_HEX, prime, 0));
    std::string random = randomBytes(exponentBytes);
    exponent_.reset(scan(GCRYMPI_FMT_USG, random.data(), random.size()));
}

SecretSession::~SecretSession() {
    explicit_bzero(key_.data(), key_.size());
}

std::string SecretSession::publicKey() const {
    Number generator(gcry_mpi_set_ui(nullptr, 2));
    return power(generator.get());
}

bool SecretSession::agree(const std::string& publicKey) {
    Number other(scan(GCRYMPI_FMT_USG, publicKey.data(), publicKey.size()));
    Number last(gcry_mpi_copy(prime_.get()));
    gcry_mpi_sub_ui(last.get(), last.get(), 1);
    // 0, 1 and -1 would agree on a secret that everybody knows.
    if (gcry_mpi_cmp_ui(other.get(), 1) <= 0 || gcry_mpi_cmp(other.get(), last.get()) >= 0) return false;
    Digest extracted = hmac(std::string(sizeof(Digest), '\0'), power(other.get()));
    Digest expanded = hmac({extracted.data(), extracted.size()}, "\x01");
    std::copy_n(expanded.begin(), key_.size(), key_.begin());
    explicit_bzero(extracted.data(), extracted.size());
    explicit_bzero(expanded.data(), expanded.size());
    return true;
}

SecretSession::Sealed SecretSession::seal(std::string secret) const {
    const std::size_t padding = block - secret.size() % block;
    secret.append(padding, static_cast<char>(padding));
    std::string start = randomBytes(block);
    require(gcry_cipher_encrypt(openCipher(key_, start).get(), secret.data(), secret.size(), nullptr, 0));
    return {std::move(start), std::move(secret)};
}

std::optional<std::string> SecretSession::open(const Sealed& sealed) const {
    std::string secret = sealed.value;
    if (sealed.parameters.size() != block || secret.empty() || secret.size() % block != 0) return std::nullopt;
    require(gcry_cipher_decrypt(openCipher(key_, sealed.parameters).get(), secret.data(), secret.size(), nullptr, 0));
    const auto padding = static_cast<unsigned char>(secret.back());
    if (padding == 0 || padding > block) return std::nullopt;
    if (secret.find_last_not_of(secret.back()) + 1 + padding > secret.size()) return std::nullopt;
    secret.resize(secret.size() - padding);
    return secret;
}

std::string SecretSession::power(gcry_mpi* base) const {
    Number result(gcry_mpi_new(8 * primeBytes));
    gcry_mpi_powm(result.get(), base, exponent_.get(), prime_.get());
    std::string bytes(primeBytes, '\0');
    std::size_t length = 0;
    require(gcry_mpi_print(GCRYMPI_FMT_USG, nullptr, 0, &length, result.get()));
    require(gcry_mpi_print(GCRYMPI_FMT_USG, reinterpret_cast<unsigned char*>(bytes.data()) + primeBytes - length,
                           length, nullptr, result.get()));
    return bytes;
}

}  // namespace tobrel
