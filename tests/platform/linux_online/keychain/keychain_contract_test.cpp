#include <gtest/gtest.h>

#include <memory>

#include "platform/linux/files_posix.h"
#include "platform/linux_online/keychain/keychain_file.h"
#include "platform/linux_online/keychain/keyring_daemon.h"
#include "platform/linux_online/keychain/secret_service_on_demand.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

namespace {

// One store, empty, and what it needs to run.
struct World {
    virtual ~World() = default;
    virtual std::unique_ptr<Keychain> open() = 0;
};

struct FileWorld : World {
    TemporaryFolder folder;
    PosixFiles files;
    std::unique_ptr<Keychain> open() override {
        return std::make_unique<KeychainFile>(files, folder.file("data/keychain"));
    }
};

struct SecretServiceWorld : World {
    TemporaryFolder home;
    KeyringDaemon daemon{home, KeyringDaemon::Keyring::unlocked};
    std::unique_ptr<Keychain> open() override { return std::make_unique<SecretServiceOnDemand>(); }
};

std::unique_ptr<World> makeWorld(const std::string& name) {
    if (name == "file") return std::make_unique<FileWorld>();
    return std::make_unique<SecretServiceWorld>();
}

SecAttributes query(const std::string& service) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrAccessGroup, "group"},
            {kSecUseDataProtectionKeychain, true}};
}

SecAttributes item(const std::string& service, const std::string& account, const std::string& data) {
    SecAttributes item = query(service);
    item.insert({{kSecAttrAccount, account},
                 {kSecAttrLabel, "A label"},
                 {kSecValueData, CFData{data}},
                 {kSecAttrAccessible, kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly}});
    return item;
}

class KeychainContract : public ::testing::TestWithParam<const char*> {
protected:
    const std::unique_ptr<World> world_ = makeWorld(GetParam());
    const std::unique_ptr<Keychain> keychain_ = world_->open();

    SecItemCopyResult read(SecAttributes query) {
        query[kSecReturnData] = true;
        query[kSecMatchLimit] = kSecMatchLimitOne;
        return keychain_->SecItemCopyMatching(query);
    }
};

TEST_P(KeychainContract, data_comes_back_byte_for_byte) {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
    for (const std::string& data : {std::string("secret"), std::string("line\r\n"), std::string("ключ 🔑"), everyByte,
                                    std::string(1, '\0'), std::string("\xFF"), std::string(), std::string(5000, 'k')}) {
        ASSERT_EQ(keychain_->SecItemAdd(item("key", "ann", data)), errSecSuccess);
        auto [status, value] = read(query("key"));
        EXPECT_EQ(status, errSecSuccess);
        EXPECT_EQ(value, SecValue(CFData{data}));
        ASSERT_EQ(keychain_->SecItemDelete(query("key")), errSecSuccess);
    }
}

TEST_P(KeychainContract, service_access_group_and_account_tell_items_apart) {
    const std::string quoted = "Bjørn \"quoted\"";
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
    for (const std::string& account : {std::string("ann"), quoted, std::string()})
        ASSERT_EQ(keychain_->SecItemAdd(item("key", account, "of " + account)), errSecSuccess);
    ASSERT_EQ(keychain_->SecItemAdd(item("other", "ann", "2")), errSecSuccess);
    EXPECT_EQ(keychain_->SecItemAdd(item("key", "ann", "3")), errSecDuplicateItem);

    SecAttributes one = query("key"), elsewhere = query("key");
    one[kSecAttrAccount] = quoted;
    EXPECT_EQ(read(one).value, SecValue(CFData{"of " + quoted}));
    elsewhere[kSecAttrAccessGroup] = "another group";
    for (const SecAttributes& unknown : {elsewhere, query("ke")}) {
        EXPECT_EQ(read(unknown).status, errSecItemNotFound);
        EXPECT_EQ(keychain_->SecItemDelete(unknown), errSecItemNotFound);
    }
    EXPECT_EQ(keychain_->SecItemDelete(query("key")), errSecSuccess) << "all of them";
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
    EXPECT_EQ(read(query("other")).value, SecValue(CFData{"2"}));
}

TEST_P(KeychainContract, wrong_attributes_are_refused) {
    auto changed = [](const char* name, std::optional<SecValue> value) {
        SecAttributes attributes = item("key", "ann", "1");
        attributes.erase(name);
        if (value) attributes[name] = *value;
        return attributes;
    };
    const SecAttributes wrong[] = {
        changed(kSecClass, std::nullopt),        changed(kSecClass, "inet"),
        changed(kSecAttrService, CFData{"key"}), changed(kSecAttrAccount, true),
        changed(kSecAttrAccount, "\xFF"),        changed(kSecAttrAccount, std::string("a\0b", 3))};
    for (const SecAttributes& attributes : wrong) {
        EXPECT_EQ(keychain_->SecItemAdd(attributes), errSecParam);
        EXPECT_EQ(read(attributes).status, errSecParam);
        EXPECT_EQ(keychain_->SecItemDelete(attributes), errSecParam);
    }
    EXPECT_EQ(keychain_->SecItemAdd(changed(kSecValueData, std::nullopt)), errSecParam);
    EXPECT_EQ(keychain_->SecItemAdd(changed(kSecValueData, "text")), errSecParam);
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
}

TEST_P(KeychainContract, items_outlive_the_object_and_many_threads_may_ask_at_once) {
    ASSERT_EQ(keychain_->SecItemAdd(item("key", "ann", "1")), errSecSuccess);
    std::vector<std::function<void()>> readers(8, [&] {
        for (int turn = 0; turn < 20; ++turn) EXPECT_EQ(read(query("key")).value, SecValue(CFData{"1"}));
    });
    onOtherThreads(readers);
    EXPECT_EQ(world_->open()->SecItemDelete(query("key")), errSecSuccess);
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
}

TEST_P(KeychainContract, replacing_leaves_one_item_or_where_it_fails_the_old_one) {
    auto* storage = dynamic_cast<KeychainStorage*>(keychain_.get());
    for (const char* account : {"ann", "ben", "ben"}) {
        ASSERT_EQ(storage->replace(query("key"), item("key", account, account)), errSecSuccess);
        EXPECT_EQ(read(query("key")).value, SecValue(CFData{account}));
    }
    EXPECT_EQ(storage->replace(query("key"), item("key", "\xFF", "3")), errSecParam);
    EXPECT_EQ(read(query("key")).value, SecValue(CFData{"ben"}));
    SecAttributes first = query("key");
    first[kSecAttrAccount] = "ann";
    EXPECT_EQ(read(first).status, errSecItemNotFound);
}

INSTANTIATE_TEST_SUITE_P(Stores, KeychainContract, ::testing::Values("file", "secret_service"),
                         [](auto& info) { return std::string(info.param); });

}  // namespace

}  // namespace tobrel::testing
