#include <gtest/gtest.h>

#include <memory>

#include "platform/linux/files_posix.h"
#include "platform/linux/keychain_file.h"
#include "platform/linux/keychain_secret_service.h"
#include "platform/linux_online/keyring_daemon.h"
#include "support/fake_platform.h"

namespace tobrel::testing {

namespace {

// One store, empty, and what it needs to run.
struct World {
    virtual ~World() = default;
    virtual Keychain& keychain() = 0;
    // A second object on the same store.
    virtual std::unique_ptr<Keychain> another() { return nullptr; }
};

struct FakeWorld : World {
    FakeKeychain fake;
    Keychain& keychain() override { return fake; }
};

struct FileWorld : World {
    TemporaryFolder folder;
    PosixFiles files;
    KeychainFile file{files, folder.file("data/keychain")};
    Keychain& keychain() override { return file; }
    std::unique_ptr<Keychain> another() override {
        return std::make_unique<KeychainFile>(files, folder.file("data/keychain"));
    }
};

struct SecretServiceWorld : World {
    TemporaryFolder home;
    KeyringDaemon daemon{home, KeyringDaemon::Keyring::unlocked};
    KeychainSecretService service;
    Keychain& keychain() override { return service; }
    std::unique_ptr<Keychain> another() override { return std::make_unique<KeychainSecretService>(); }
};

template <class Type>
std::unique_ptr<World> make() {
    return std::make_unique<Type>();
}

using MakeWorld = std::unique_ptr<World> (*)();

std::string worldName(const ::testing::TestParamInfo<MakeWorld>& info) {
    return info.param == make<FakeWorld> ? "fake" : info.param == make<FileWorld> ? "file" : "secret_service";
}

SecAttributes item(const std::string& service, const std::string& account, const std::string& data) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrAccessGroup, "group"},
            {kSecAttrAccount, account},
            {kSecAttrLabel, "A label"},
            {kSecValueData, CFData{data}},
            {kSecAttrAccessible, kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly},
            {kSecUseDataProtectionKeychain, true}};
}

SecAttributes query(const std::string& service) {
    return {{kSecClass, kSecClassGenericPassword},
            {kSecAttrService, service},
            {kSecAttrAccessGroup, "group"},
            {kSecUseDataProtectionKeychain, true}};
}

class KeychainContract : public ::testing::TestWithParam<MakeWorld> {
protected:
    const std::unique_ptr<World> world_ = GetParam()();
    Keychain& keychain_ = world_->keychain();

    SecItemCopyResult read(SecAttributes query) {
        query[kSecReturnData] = true;
        query[kSecMatchLimit] = kSecMatchLimitOne;
        return keychain_.SecItemCopyMatching(query);
    }
};

TEST_P(KeychainContract, an_empty_store_finds_and_deletes_nothing) {
    auto [status, value] = read(query("key"));
    EXPECT_EQ(status, errSecItemNotFound);
    EXPECT_FALSE(value);
    EXPECT_EQ(keychain_.SecItemDelete(query("key")), errSecItemNotFound);
}

TEST_P(KeychainContract, data_comes_back_byte_for_byte) {
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
    for (const std::string& data : {std::string("secret"), std::string("line\r\n"), std::string("ключ 🔑"), everyByte,
                                    std::string(1, '\0'), std::string("\xFF"), std::string(), std::string(5000, 'k')}) {
        ASSERT_EQ(keychain_.SecItemAdd(item("key", "ann", data)), errSecSuccess);
        auto [status, value] = read(query("key"));
        EXPECT_EQ(status, errSecSuccess);
        EXPECT_EQ(value, SecValue(CFData{data}));
        ASSERT_EQ(keychain_.SecItemDelete(query("key")), errSecSuccess);
    }
}

TEST_P(KeychainContract, service_access_group_and_account_tell_items_apart) {
    ASSERT_EQ(keychain_.SecItemAdd(item("key", "ann", "1")), errSecSuccess);
    ASSERT_EQ(keychain_.SecItemAdd(item("key", "Bjørn \"quoted\"", "2")), errSecSuccess);
    ASSERT_EQ(keychain_.SecItemAdd(item("other", "ann", "3")), errSecSuccess);
    EXPECT_EQ(keychain_.SecItemAdd(item("key", "ann", "4")), errSecDuplicateItem);

    SecAttributes second = query("key");
    second[kSecAttrAccount] = "Bjørn \"quoted\"";
    EXPECT_EQ(read(second).value, SecValue(CFData{"2"}));
    SecAttributes elsewhere = query("key");
    elsewhere[kSecAttrAccessGroup] = "another group";
    EXPECT_EQ(read(elsewhere).status, errSecItemNotFound);
    EXPECT_EQ(read(query("ke")).status, errSecItemNotFound);
}

TEST_P(KeychainContract, deleting_takes_every_item_that_matches_and_no_other) {
    for (const char* account : {"ann", "ben", ""})
        ASSERT_EQ(keychain_.SecItemAdd(item("key", account, "1")), errSecSuccess);
    ASSERT_EQ(keychain_.SecItemAdd(item("other", "ann", "2")), errSecSuccess);
    EXPECT_EQ(keychain_.SecItemDelete(query("key")), errSecSuccess);
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
    EXPECT_EQ(read(query("other")).value, SecValue(CFData{"2"}));
}

INSTANTIATE_TEST_SUITE_P(Stores, KeychainContract,
                         ::testing::Values(make<FakeWorld>, make<FileWorld>, make<SecretServiceWorld>), worldName);

class RealStores : public KeychainContract {};

TEST_P(RealStores, wrong_attributes_are_refused) {
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
        EXPECT_EQ(keychain_.SecItemAdd(attributes), errSecParam);
        EXPECT_EQ(read(attributes).status, errSecParam);
        EXPECT_EQ(keychain_.SecItemDelete(attributes), errSecParam);
    }
    EXPECT_EQ(keychain_.SecItemAdd(changed(kSecValueData, std::nullopt)), errSecParam);
    EXPECT_EQ(keychain_.SecItemAdd(changed(kSecValueData, "text")), errSecParam);
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
}

TEST_P(RealStores, items_outlive_the_object_and_many_threads_may_ask_at_once) {
    ASSERT_EQ(keychain_.SecItemAdd(item("key", "ann", "1")), errSecSuccess);
    std::vector<std::function<void()>> readers(8, [&] {
        for (int turn = 0; turn < 20; ++turn) EXPECT_EQ(read(query("key")).value, SecValue(CFData{"1"}));
    });
    onOtherThreads(readers);
    EXPECT_EQ(world_->another()->SecItemDelete(query("key")), errSecSuccess);
    EXPECT_EQ(read(query("key")).status, errSecItemNotFound);
}

INSTANTIATE_TEST_SUITE_P(Stores, RealStores, ::testing::Values(make<FileWorld>, make<SecretServiceWorld>), worldName);

}  // namespace

}  // namespace tobrel::testing
