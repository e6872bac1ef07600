#include "platform/linux_online/keychain/keychain_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST_F(KeychainFileTest, never_seals_two_texts_under_one_nonce_and_refuses_what_another_user_owns) {
    const std::string before = readFile(keychain_.path());
    ASSERT_EQ(keychain_.replace(query, item), errSecSuccess);
    const std::string after = readFile(keychain_.path());
    constexpr std::size_t nonce = std::string_view("tobrel sealed 1\n").size();
    EXPECT_NE(before.substr(nonce, 12), after.substr(nonce, 12));
    // Only root can give a file away.
    if (chown(keychain_.path().c_str(), 65534, 65534) != 0) GTEST_SKIP() << "not root";
    EXPECT_EQ(read(keychain_), errSecAuthFailed);
}

TEST_F(KeychainFileTest, a_failed_replacement_leaves_the_old_item) {
    SecAttributes wrong = item;
    wrong[kSecAttrAccount] = "\xFF";
    EXPECT_EQ(keychain_.replace(query, wrong), errSecParam);
    EXPECT_EQ(read(keychain_), errSecSuccess);
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

TEST(LinuxKeychain, holds_one_key_the_one_that_was_set_last_wherever_it_went) {
    using Store = LinuxKeychain::Store;
    TemporaryFolder folder;
    auto owned = std::make_unique<FakeKeychain>();
    auto& failure = owned->failure;
    LinuxKeychain keychain(folder.path(), std::move(owned));
    auto set = [&](const std::string& key, std::optional<Store> store = {}) {
        LinuxKeychain::Replacing replacing(keychain, store);
        SecAttributes one = item;
        one[kSecValueData] = CFData{key};
        one[kSecAttrAccount] = key;
        EXPECT_EQ(keychain.SecItemDelete(query), errSecSuccess);
        return keychain.SecItemAdd(one);
    };
    auto key = [&] {
        auto found = keychain.find(query);
        return found.value ? std::get<CFData>(*found.value).bytes : "none";
    };
    EXPECT_EQ(set("service"), errSecSuccess);
    EXPECT_EQ(keychain.find(query).store, Store::secretService);
    failure = errSecNotAvailable;
    EXPECT_EQ(key(), "none");
    EXPECT_EQ(keychain.service(), LinuxKeychain::Service::unreachable);
    EXPECT_EQ(set("refused", Store::secretService), errSecNotAvailable);
    EXPECT_EQ(set("file"), errSecSuccess);
    failure.reset();
    EXPECT_EQ(key(), "file") << "set later than that in the service";
    failure = errSecInteractionNotAllowed;
    EXPECT_EQ(set("locked"), errSecInteractionNotAllowed);
    EXPECT_EQ(keychain.SecItemDelete(query), errSecInteractionNotAllowed);
    EXPECT_EQ(key(), "file") << "what fails changes nothing";
    EXPECT_EQ(set("file again", Store::file), errSecSuccess);
    EXPECT_EQ(key(), "file again");
    failure.reset();
    EXPECT_EQ(set("service again"), errSecSuccess);
    EXPECT_EQ(keychain.find(query).store, Store::secretService);
    EXPECT_EQ(key(), "service again");
    std::filesystem::permissions(folder.path() / "keychain", std::filesystem::perms(0750));
    EXPECT_EQ(key(), "service again") << "a file that is refused stands in nobody's way";
    std::filesystem::permissions(folder.path() / "keychain", std::filesystem::perms(0700));
    EXPECT_EQ(keychain.SecItemDelete(query), errSecSuccess);
    failure = errSecInteractionNotAllowed;
    EXPECT_EQ(keychain.find(query).status, errSecInteractionNotAllowed);
    failure.reset();
    EXPECT_EQ(key(), "none");
}

}  // namespace tobrel::testing
