#include "platform/linux_online/keychain/keychain_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/linux/files_posix.h"
#include "platform/linux_online/keychain/keychain_linux.h"
#include "support/fake_platform.h"
#include "support/temporary_folder.h"

namespace tobrel::testing {

namespace {

namespace fs = std::filesystem;

const SecAttributes query{{kSecClass, kSecClassGenericPassword}, {kSecAttrService, "key"}, {kSecReturnData, true}};
const SecAttributes item{
    {kSecClass, kSecClassGenericPassword}, {kSecAttrService, "key"}, {kSecValueData, CFData{"top secret"}}};

class KeychainFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(machineId_, "0123456789abcdef0123456789abcdef\n");
        ASSERT_EQ(keychain_.SecItemAdd(item), errSecSuccess);
    }

    OSStatus read(KeychainFile& keychain) { return keychain.SecItemCopyMatching(query).status; }

    TemporaryFolder folder_;
    PosixFiles files_;
    const std::string data_ = folder_.file("data/keychain");
    const std::string machineId_ = folder_.file("machine-id");
    KeychainFile keychain_{files_, data_, machineId_};
};

TEST_F(KeychainFileTest, is_private_and_shows_nothing_of_the_secret) {
    EXPECT_EQ(fs::status(keychain_.path()).permissions(), fs::perms(0600));
    EXPECT_EQ(fs::status(data_).permissions(), fs::perms(0700));
    EXPECT_EQ(readFile(keychain_.path()).find("secret"), std::string::npos);
    EXPECT_EQ(std::distance(fs::directory_iterator(data_), {}), 1);
    EXPECT_FALSE(keychain_.complaint());
}

TEST_F(KeychainFileTest, refuses_what_others_could_read_or_is_no_file_and_leaves_it_alone) {
    for (auto [path, mode] : {std::pair(keychain_.path(), 0640), std::pair(keychain_.path(), 0604),
                              std::pair(data_, 0750), std::pair(data_, 0701)}) {
        fs::perms good = fs::status(path).permissions();
        fs::permissions(path, fs::perms(mode));
        EXPECT_EQ(read(keychain_), errSecAuthFailed) << std::oct << mode;
        EXPECT_EQ(keychain_.SecItemAdd(item), errSecAuthFailed);
        EXPECT_EQ(keychain_.SecItemDelete(query), errSecAuthFailed);
        ASSERT_TRUE(keychain_.complaint());
        EXPECT_NE(keychain_.complaint()->wayOut.find("chmod"), std::string::npos);
        fs::permissions(path, good);
        EXPECT_EQ(read(keychain_), errSecSuccess);
    }
    fs::remove(keychain_.path());
    mkfifo(keychain_.path().c_str(), 0600);
    EXPECT_EQ(read(keychain_), errSecIO);
    EXPECT_EQ(keychain_.SecItemAdd(item), errSecIO);
    EXPECT_TRUE(keychain_.complaint());
}

TEST_F(KeychainFileTest, does_not_open_on_another_machine_or_after_a_change_until_the_key_is_set_again) {
    const std::string original = readFile(keychain_.path());
    std::string changed = original;
    changed.back() ^= 1;
    const std::string contents[] = {changed, original.substr(0, original.size() - 1), original + "x", "",
                                    "{}",    std::string(2 * 1024 * 1024, 'x')};
    for (const std::string& content : contents) {
        writeFile(keychain_.path(), content);
        EXPECT_NE(read(keychain_), errSecSuccess);
        EXPECT_NE(keychain_.SecItemAdd(item), errSecSuccess);
        EXPECT_EQ(readFile(keychain_.path()), content);
    }
    writeFile(keychain_.path(), original);
    EXPECT_EQ(read(keychain_), errSecSuccess);

    writeFile(machineId_, "fedcba9876543210fedcba9876543210\n");
    EXPECT_EQ(read(keychain_), errSecAuthFailed);
    ASSERT_TRUE(keychain_.complaint());
    EXPECT_NE(keychain_.complaint()->what.find("another machine"), std::string::npos);
    EXPECT_EQ(keychain_.SecItemDelete(query), errSecSuccess);
    EXPECT_EQ(keychain_.SecItemAdd(item), errSecSuccess);
    EXPECT_EQ(read(keychain_), errSecSuccess);
}

TEST_F(KeychainFileTest, without_a_machine_id_a_copy_of_the_folder_does_not_open) {
    for (std::string id : {"", "uninitialized"}) {
        writeFile(machineId_, id + "\n");
        const std::string original = folder_.file("original" + id), copy = folder_.file("copy" + id);
        KeychainFile here(files_, original, machineId_), there(files_, copy, machineId_);
        ASSERT_EQ(here.SecItemAdd(item), errSecSuccess);
        EXPECT_EQ(read(here), errSecSuccess);
        fs::copy(original, copy);
        fs::permissions(copy, fs::perms::owner_all);
        EXPECT_EQ(read(there), errSecAuthFailed);
    }
}

TEST_F(KeychainFileTest, writers_at_once_lose_no_item) {
    auto with = [](SecAttributes attributes, int account) {
        attributes[kSecAttrAccount] = std::to_string(account);
        return attributes;
    };
    std::vector<std::function<void()>> writers;
    for (int account = 0; account < 8; ++account)
        writers.push_back([=, this] {
            EXPECT_EQ(KeychainFile(files_, data_, machineId_).SecItemAdd(with(item, account)), errSecSuccess);
        });
    onOtherThreads(writers);
    for (int account = 0; account < 8; ++account)
        EXPECT_EQ(keychain_.SecItemCopyMatching(with(query, account)).status, errSecSuccess);
}

}  // namespace

TEST(LinuxKeychain, takes_the_file_only_where_there_is_no_service_but_finds_and_deletes_in_both) {
    using Store = LinuxKeychain::Store;
    TemporaryFolder folder;
    auto owned = std::make_unique<FakeKeychain>();
    FakeKeychain& service = *owned;
    LinuxKeychain keychain(folder.path(), std::move(owned));

    service.failure = errSecNotAvailable;
    EXPECT_EQ(keychain.find(query).status, errSecItemNotFound);
    EXPECT_EQ(keychain.SecItemAdd(item), errSecSuccess);
    EXPECT_TRUE(fs::exists(keychain.file().path()));

    service.failure.reset();
    EXPECT_EQ(keychain.find(query).value, SecValue(CFData{"top secret"}));
    EXPECT_EQ(keychain.find(query).store, Store::file);
    EXPECT_EQ(keychain.SecItemAdd(item), errSecSuccess);
    EXPECT_EQ(keychain.find(query).store, Store::secretService);
    EXPECT_EQ(keychain.SecItemDelete(query), errSecSuccess);
    EXPECT_EQ(keychain.find(query).status, errSecItemNotFound);
    EXPECT_EQ(keychain.SecItemDelete(query), errSecItemNotFound);

    service.failure = errSecNotAvailable;
    EXPECT_EQ(keychain.SecItemAdd(item), errSecSuccess);
    service.failure = errSecInteractionNotAllowed;
    EXPECT_EQ(keychain.SecItemDelete(query), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.find(query).store, Store::file);
    EXPECT_EQ(keychain.file().SecItemDelete(query), errSecSuccess);
    EXPECT_EQ(keychain.find(query).status, errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.SecItemAdd(item), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.SecItemDelete(query), errSecInteractionNotAllowed);
}

}  // namespace tobrel::testing
