#include "platform/linux_online/keychain/keychain_seal.h"

#include <gcrypt.h>

#include <array>
#include <memory>
#include <type_traits>

namespace tobrel {

namespace {

constexpr std::string_view header = "tobrel sealed 1\n";
constexpr std::size_t nonceLength = 12;
constexpr std::size_t tagLength = 16;

struct CloseCipher {
    void operator()(gcry_cipher_hd_t cipher) const { gcry_cipher_close(cipher); }
};
using Cipher = std::unique_ptr<std::remove_pointer_t<gcry_cipher_hd_t>, CloseCipher>;

bool libraryIsReady() {
    static const bool ready = [] {
        if (gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) return true;
        if (!gcry_check_version(nullptr)) return false;
        gcry_control(GCRYCTL_DISABLE_SECMEM, 0);
        gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        return true;
    }();
    return ready;
}

Cipher openCipher(std::string_view secret, std::string_view nonce) {
    if (!libraryIsReady()) return nullptr;
    std::array<unsigned char, 32> key;
    std::array<gcry_buffer_t, 2> parts{};
    parts[0].data = const_cast<char*>(secret.data());
    parts[0].len = secret.size();
    parts[1].data = const_cast<char*>(header.data());
    parts[1].len = header.size();
    if (gcry_md_hash_buffers(GCRY_MD_SHA256, GCRY_MD_FLAG_HMAC, key.data(), parts.data(), parts.size()) != 0)
        return nullptr;
    gcry_cipher_hd_t opened = nullptr;
    if (gcry_cipher_open(&opened, GCRY_CIPHER_AES256, GCRY_CIPHER_MODE_GCM, 0) != 0) return nullptr;
    Cipher cipher(opened);
    if (gcry_cipher_setkey(opened, key.data(), key.size()) != 0 ||
        gcry_cipher_setiv(opened, nonce.data(), nonce.size()) != 0 ||
        gcry_cipher_authenticate(opened, header.data(), header.size()) != 0)
        return nullptr;
    return cipher;
}

}  // namespace

std::optional<std::string> seal(std::string_view text, std::string_view secret) {
    if (!libraryIsReady()) return std::nullopt;
    std::string nonce(nonceLength, '\0');
    gcry_randomize(nonce.data(), nonce.size(), GCRY_STRONG_RANDOM);
    Cipher cipher = openCipher(secret, nonce);
    std::string body(text);
    std::string tag(tagLength, '\0');
    if (!cipher || gcry_cipher_encrypt(cipher.get(), body.data(), body.size(), nullptr, 0) != 0 ||
        gcry_cipher_gettag(cipher.get(), tag.data(), tag.size()) != 0)
        return std::nullopt;
    return std::string(header) + nonce + tag + body;
}

std::optional<std::string> unseal(std::string_view sealed, std::string_view secret) {
    if (!sealed.starts_with(header) || sealed.size() < header.size() + nonceLength + tagLength) return std::nullopt;
    std::string_view nonce = sealed.substr(header.size(), nonceLength);
    std::string_view tag = sealed.substr(header.size() + nonceLength, tagLength);
    std::string body(sealed.substr(header.size() + nonceLength + tagLength));
    Cipher cipher = openCipher(secret, nonce);
    if (!cipher || gcry_cipher_decrypt(cipher.get(), body.data(), body.size(), nullptr, 0) != 0 ||
        gcry_cipher_checktag(cipher.get(), tag.data(), tag.size()) != 0)
        return std::nullopt;
    return body;
}

}  // namespace tobrel
