// The files of the private folder, whatever they hold: config.json, pinned.json and the sealed keychain.
#include <cstdint>
#include <set>
#include <string>

#include "admin/settings_text.h"
#include "check.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/linux_online/keychain/keychain_file.h"
#include "platform/linux_online/keychain/keychain_seal.h"
#include "platform/platform.h"
#include "state/config.h"
#include "state/pin_file.h"
#include "text/json.h"
#include "text/utf8.h"
#include "work_folder.h"

namespace {

using namespace tobrel;

const std::string machineId(32, 'a');

struct World {
    WorkFolder folder;
    std::string settings = folder.subfolder(".tobrel") + "/config.json";
    std::string pinned = folder.subfolder(".tobrel") + "/pinned.json";
    PosixFiles files;
    PosixUserDatabase users{folder.path};
    platform::Installation installation{{users, files}};
    KeychainFile keychain{files, folder.subfolder("data"), folder.path + "/machine-id"};
};

void checkSettings(const World& world, const std::string& text) {
    constexpr const char* address = "https://tobrel.example/\"x\"";
    put(world.settings, text);
    check(!Config::server().ends_with('/') && isUtf8(Config::server()));
    auto before = json::parseObject(text);
    auto changed = admin::withTextMember(text, "server", address);
    check(changed.has_value() || !before);
    if (!changed) return;
    put(world.settings, *changed);
    check(Config::server() == address);
    auto after = json::parseObject(*changed);
    check(after != nullptr);
    if (!before) return;
    boost::json::object expected = *before;
    expected["server"] = address;
    check(*after == expected);
}

std::set<std::string> stringsOf(const std::string& text) {
    auto value = json::parse(text);
    std::set<std::string> strings;
    if (!value || !value->is_array()) return strings;
    for (const auto& element : value->get_array()) {
        if (!element.is_string()) return {};
        strings.emplace(element.get_string());
    }
    return strings;
}

void checkPinned(const World& world, const std::string& text) {
    put(world.pinned, text);
    auto expected = stringsOf(text);
    expected.insert("\"\uFFFD");
    PinFile::update({"\"\xFF"}, true);
    check(stringsOf(read(world.pinned)) == expected);
    PinFile::update({"\"\xFF"}, false);
    expected.erase("\"\uFFFD");
    check(stringsOf(read(world.pinned)) == expected);
}

void checkKeychain(World& world, const std::string& text) {
    const SecAttributes key{{kSecClass, kSecClassGenericPassword}, {kSecAttrService, "key"}};
    SecAttributes query = key, item = key;
    query[kSecReturnData] = true;
    item[kSecValueData] = CFData{text};

    put(world.folder.path + "/machine-id", machineId);
    put(world.keychain.path(), text);
    check(world.keychain.complaint() && world.keychain.SecItemCopyMatching(query).status == errSecAuthFailed);
    // What this machine has sealed is deciphered, but need not make sense.
    put(world.keychain.path(), *seal(text, machineId));
    check(world.keychain.complaint().has_value() ==
          (world.keychain.SecItemCopyMatching(query).status == errSecAuthFailed));
    world.keychain.SecItemDelete(key);
    check(world.keychain.SecItemCopyMatching(query).status == errSecItemNotFound);
    check(world.keychain.SecItemAdd(item) == errSecSuccess);
    check(world.keychain.SecItemCopyMatching(query).value == SecValue(CFData{text}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static World world;
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkSettings(world, text);
    checkPinned(world, text);
    checkKeychain(world, text);
    return 0;
}
