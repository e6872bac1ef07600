#include "state/keychain_store.h"

#include <gtest/gtest.h>

#include "support/fake_platform.h"

namespace tobrel::testing {

class KeychainStoreTest : public ::testing::Test {
protected:
    FakePlatform platform_;
    FakeKeychain& keychain_ = platform_.keychain;
};

TEST_F(KeychainStoreTest, a_key_is_read_unchanged_and_what_is_no_key_is_absent) {
    EXPECT_EQ(KeychainStore::readKey(), std::nullopt);
    struct {
        std::string saved;
        std::optional<std::string> read;
    } cases[] = {{"k3y", "k3y"}, {" k\r\n", " k\r\n"}, {"ключ", "ключ"}, {"", std::nullopt}, {"k\xFF", std::nullopt}};
    for (const auto& [saved, read] : cases) {
        EXPECT_EQ(KeychainStore::saveKey(saved, "ann"), errSecSuccess);
        EXPECT_EQ(KeychainStore::readKey(), read);
    }
    KeychainStore::deleteKey();
    EXPECT_EQ(KeychainStore::readKey(), std::nullopt);
}

TEST_F(KeychainStoreTest, saving_leaves_one_item_as_the_platform_describes_it) {
    KeychainStore::saveKey("first", "ann");
    KeychainStore::saveKey("second", "ben");
    const SecAttributes expected{
        {"class", "genp"}, {"svce", "com.qelmo.tobrel.api-key"}, {"agrp", "group.com.qelmo.tobrel"}, {"nleg", true},
        {"acct", "ben"},   {"labl", "Tobrel account key"},       {"v_Data", CFData{"second"}},       {"pdmn", "cku"}};
    EXPECT_EQ(keychain_.lastAdded, expected);
    EXPECT_EQ(keychain_.SecItemDelete({{kSecClass, kSecClassGenericPassword},
                                       {kSecAttrService, KeychainStore::service},
                                       {kSecAttrAccount, "ben"}}),
              errSecSuccess);
    EXPECT_EQ(KeychainStore::readKey(), std::nullopt);
}

TEST_F(KeychainStoreTest, a_failing_keychain_gives_no_key_and_its_status_in_words) {
    KeychainStore::saveKey("k3y", "ann");
    keychain_.failure = errSecInteractionNotAllowed;
    EXPECT_EQ(KeychainStore::readKey(), std::nullopt);
    EXPECT_EQ(KeychainStore::saveKey("k3y", "ann"), errSecInteractionNotAllowed);
    EXPECT_EQ(KeychainStore::describe(errSecInteractionNotAllowed), "User interaction is not allowed.");
    EXPECT_EQ(KeychainStore::describe(errSecItemNotFound), "The specified item could not be found in the keychain.");
    EXPECT_EQ(KeychainStore::describe(-1), "OSStatus -1");
    EXPECT_EQ(KeychainStore::describe(12345), "OSStatus 12345");
}

}  // namespace tobrel::testing
