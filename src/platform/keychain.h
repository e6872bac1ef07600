#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace tobrel {

using OSStatus = std::int32_t;

inline constexpr OSStatus errSecSuccess = 0;
inline constexpr OSStatus errSecParam = -50;
inline constexpr OSStatus errSecDiskFull = -34;
inline constexpr OSStatus errSecIO = -36;
inline constexpr OSStatus errSecWrPerm = -61;
inline constexpr OSStatus errSecAuthFailed = -25293;
inline constexpr OSStatus errSecNotAvailable = -25291;
inline constexpr OSStatus errSecDuplicateItem = -25299;
inline constexpr OSStatus errSecItemNotFound = -25300;
inline constexpr OSStatus errSecInteractionNotAllowed = -25308;

struct CFData {
    std::string bytes;
    bool operator==(const CFData&) const = default;
};

using SecValue = std::variant<bool, std::string, CFData>;
using SecAttributes = std::map<std::string, SecValue>;

inline constexpr const char* kSecClass = "class";
inline constexpr const char* kSecClassGenericPassword = "genp";
inline constexpr const char* kSecAttrService = "svce";
inline constexpr const char* kSecAttrAccessGroup = "agrp";
inline constexpr const char* kSecAttrAccount = "acct";
inline constexpr const char* kSecAttrLabel = "labl";
inline constexpr const char* kSecAttrAccessible = "pdmn";
inline constexpr const char* kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly = "cku";
inline constexpr const char* kSecUseDataProtectionKeychain = "nleg";
inline constexpr const char* kSecValueData = "v_Data";
inline constexpr const char* kSecReturnData = "r_Data";
inline constexpr const char* kSecMatchLimit = "m_Limit";
inline constexpr const char* kSecMatchLimitOne = "m_LimitOne";

struct SecItemCopyResult {
    OSStatus status = errSecSuccess;
    std::optional<SecValue> value;
};

// Synchronous, on any thread but the main one: a call takes some seconds at most, but where the user has to unlock a
// keyring first, whatever that takes.
class Keychain {
public:
    virtual ~Keychain() = default;
    // The data of the one item that matches the query's attributes.
    virtual SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) = 0;
    virtual OSStatus SecItemAdd(const SecAttributes& attributes) = 0;
    // Deletes every item that matches.
    virtual OSStatus SecItemDelete(const SecAttributes& query) = 0;
    // From any thread: calls that wait, and all later ones that would, fail at once.
    virtual void interrupt() = 0;
};

// The platform's sentence for a status value, or nothing where it has none. Any thread.
std::optional<std::string> SecCopyErrorMessageString(OSStatus status);

}  // namespace tobrel
