#include "platform/linux_online/keychain/keychain_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/files.h"
#include "platform/linux_online/keychain/keychain_seal.h"
#include "text/harmless_text.h"

namespace tobrel {

namespace {

void appendField(std::string& text, const std::string& field) {
    for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(field.size() >> shift & 0xFF);
    text += field;
}

std::optional<std::string> takeField(std::string_view& text) {
    if (text.size() < 4) return std::nullopt;
    std::size_t length = 0;
    for (int at = 0; at < 4; ++at) length |= std::size_t{static_cast<unsigned char>(text[at])} << 8 * at;
    text.remove_prefix(4);
    if (text.size() < length) return std::nullopt;
    std::string field(text.substr(0, length));
    text.remove_prefix(length);
    return field;
}

std::string encode(const std::vector<KeychainItem>& items) {
    std::string text;
    for (const KeychainItem& item : items)
        for (const std::string* field : {&item.service, &item.accessGroup, &item.account, &item.label, &item.data})
            appendField(text, *field);
    return text;
}

std::optional<std::vector<KeychainItem>> decode(std::string_view text) {
    std::vector<KeychainItem> items;
    while (!text.empty()) {
        KeychainItem& item = items.emplace_back();
        for (std::string* field : {&item.service, &item.accessGroup, &item.account, &item.label, &item.data}) {
            auto taken = takeField(text);
            if (!taken) return std::nullopt;
            *field = std::move(*taken);
        }
    }
    return items;
}

// From errno; tells apart what the user can do something about.
OSStatus lastFailure() {
    if (errno == ENOSPC || errno == EDQUOT) return errSecDiskFull;
    return errno == EACCES || errno == EPERM || errno == EROFS ? errSecWrPerm : errSecIO;
}

bool isMachineId(std::string_view text) {
    return text.size() == 32 && text.find_first_not_of("0123456789abcdef") == text.npos;
}

}  // namespace

KeychainFile::KeychainFile(Files& files, std::string folder, std::string machineIdFile)
    : files_(files),
      folder_(std::move(folder)),
      path_(folder_ + "/keychain"),
      machineIdFile_(std::move(machineIdFile)) {}

SecItemCopyResult KeychainFile::SecItemCopyMatching(const SecAttributes& attributes) {
    auto query = readQuery(attributes);
    if (!query) return {errSecParam, std::nullopt};
    Content content = read();
    if (OSStatus status = statusOf(content.state)) return {status, std::nullopt};
    auto found = std::find_if(content.items.begin(), content.items.end(),
                              [&](const KeychainItem& item) { return query->matches(item); });
    if (found == content.items.end()) return {errSecItemNotFound, std::nullopt};
    if (!query->returnData) return {errSecSuccess, std::nullopt};
    return {errSecSuccess, CFData{found->data}};
}

OSStatus KeychainFile::SecItemAdd(const SecAttributes& attributes) {
    auto item = readItem(attributes);
    if (!item) return errSecParam;
    if (!files_.createFolder(folder_, 0700)) return errSecIO;
    auto lock = files_.lock(path_);
    if (!lock) return errSecIO;
    Content content = read();
    if (OSStatus status = statusOf(content.state)) return status;
    KeychainQuery same = sameItem(*item);
    for (const KeychainItem& other : content.items)
        if (same.matches(other)) return errSecDuplicateItem;
    content.items.push_back(std::move(*item));
    return write(content.items);
}

OSStatus KeychainFile::replace(const SecAttributes& replaced, const SecAttributes& attributes) {
    auto query = readQuery(replaced);
    auto item = readItem(attributes);
    if (!query || !item) return errSecParam;
    if (!files_.createFolder(folder_, 0700)) return lastFailure();
    auto lock = files_.lock(path_);
    if (!lock) return errSecIO;
    Content content = read();
    // What cannot be deciphered here holds nothing to be kept.
    if (content.state != State::undecipherable)
        if (OSStatus status = statusOf(content.state)) return status;
    std::erase_if(content.items, [&](const KeychainItem& other) { return query->matches(other); });
    content.items.push_back(std::move(*item));
    return write(content.items);
}

OSStatus KeychainFile::SecItemDelete(const SecAttributes& attributes) {
    auto query = readQuery(attributes);
    if (!query) return errSecParam;
    if (examine() == State::absent) return errSecItemNotFound;
    auto lock = files_.lock(path_);
    if (!lock) return errSecIO;
    Content content = read();
    if (content.state == State::undecipherable) return unlink(path_.c_str()) == 0 ? errSecSuccess : errSecIO;
    if (OSStatus status = statusOf(content.state)) return status;
    if (std::erase_if(content.items, [&](const KeychainItem& item) { return query->matches(item); }) == 0)
        return errSecItemNotFound;
    return write(content.items);
}

std::optional<KeychainFile::Complaint> KeychainFile::complaint() {
    switch (read().state) {
        case State::absent:
        case State::readable:
            return std::nullopt;
        case State::exposed:
            return Complaint{"Others could read the keychain file " + inQuotes(path_) + ", so it is not used.",
                             "chmod 700 '" + folder_ + "'; chmod 600 '" + path_ + "'"};
        case State::undecipherable:
            return Complaint{"The keychain file " + inQuotes(path_) + " is damaged or comes from another machine.",
                             "tobrel-admin key set"};
        case State::unreadable:
            break;
    }
    return Complaint{"The keychain file " + inQuotes(path_) + " cannot be read.",
                     "remove what lies there, then: tobrel-admin key set"};
}

// Absent, exposed or readable, by the modes and owners alone.
KeychainFile::State KeychainFile::examine() const {
    const struct {
        const std::string& path;
        mode_t kind;
    } places[] = {{folder_, S_IFDIR}, {path_, S_IFREG}};
    for (const auto& [path, kind] : places) {
        struct stat status;
        if (lstat(path.c_str(), &status) != 0) return errno == ENOENT ? State::absent : State::unreadable;
        if ((status.st_mode & S_IFMT) != kind) return State::unreadable;
        if (status.st_mode & 077 || status.st_uid != geteuid()) return State::exposed;
    }
    return State::readable;
}

KeychainFile::Content KeychainFile::read() {
    State state = examine();
    if (state != State::readable) return {state, {}};
    auto sealed = readWhole(files_, path_, largestSettings);
    if (!sealed) return {State::unreadable, {}};
    auto text = unseal(*sealed, machineIdentity());
    auto items = text ? decode(*text) : std::nullopt;
    if (!items) return {State::undecipherable, {}};
    return {State::readable, std::move(*items)};
}

OSStatus KeychainFile::write(const std::vector<KeychainItem>& items) {
    auto sealed = seal(encode(items), machineIdentity());
    if (!sealed) return errSecIO;
    if (sealed->size() > largestSettings) return errSecParam;
    errno = 0;
    auto replacement = files_.replace(path_);
    bool written = replacement && replacement->write(*sealed) && replacement->commit();
    return written ? errSecSuccess : lastFailure();
}

OSStatus KeychainFile::statusOf(State state) {
    switch (state) {
        case State::absent:
        case State::readable:
            return errSecSuccess;
        case State::exposed:
        case State::undecipherable:
            return errSecAuthFailed;
        case State::unreadable:
            break;
    }
    return errSecIO;
}

// A container may have no machine id; there the folder itself stands for the machine: a copy is another folder.
std::string KeychainFile::machineIdentity() const {
    std::string id = readWhole(files_, machineIdFile_, 64).value_or("");
    if (id.ends_with('\n')) id.pop_back();
    if (isMachineId(id)) return id;
    struct statx folder = {};
    statx(AT_FDCWD, folder_.c_str(), 0, STATX_INO | STATX_BTIME, &folder);
    return "folder " + std::to_string(folder.stx_ino) + " " + std::to_string(folder.stx_btime.tv_sec) + "." +
           std::to_string(folder.stx_btime.tv_nsec);
}

}  // namespace tobrel
