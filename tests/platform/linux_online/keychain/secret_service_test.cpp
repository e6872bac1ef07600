#include "platform/linux_online/keychain/secret_service_on_demand.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>

#include "platform/linux_online/keychain/keyring_daemon.h"
#include "support/environment.h"

namespace tobrel::testing {

namespace {

using namespace std::chrono_literals;
using Keyring = KeyringDaemon::Keyring;

const SecretServiceBounds bounds{.call = 500ms, .unlock = 200ms, .retreat = 50ms};
const SecAttributes query{{kSecClass, kSecClassGenericPassword}, {kSecAttrService, "key"}, {kSecReturnData, true}};
const SecAttributes item{{kSecClass, kSecClassGenericPassword},
                         {kSecAttrService, "key"},
                         {kSecValueData, CFData{std::string("a\0\xFF", 3)}}};

// How long all of the store's operations take, each of which must answer with the status.
std::chrono::milliseconds expectEach(Keychain& keychain, OSStatus status) {
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(keychain.SecItemCopyMatching(query).status, status);
    EXPECT_EQ(keychain.SecItemDelete(query), status);
    EXPECT_EQ(keychain.SecItemAdd(item), status);
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

struct SecretService : ::testing::Test {
    TemporaryFolder home;
};

// The keyring holds the item already.
struct LockedKeyring : SecretService {
    LockedKeyring() {
        KeyringDaemon daemon(home, Keyring::unlocked);
        EXPECT_EQ(SecretServiceOnDemand().SecItemAdd(item), errSecSuccess);
    }
};

}  // namespace

TEST_F(SecretService, is_not_available_at_once_without_a_bus_or_without_the_service) {
    SecretServiceOnDemand keychain;
    {
        EnvironmentVariable none[] = {{"DBUS_SESSION_BUS_ADDRESS", std::nullopt}, {"XDG_RUNTIME_DIR", "/nowhere"}};
        EXPECT_LT(expectEach(keychain, errSecNotAvailable), 1s);
    }
    {
        EnvironmentVariable dead("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus");
        EXPECT_LT(expectEach(keychain, errSecNotAvailable), 1s);
    }
    SessionBus::shared();
    SecretServiceOnDemand onBus;
    EXPECT_LT(expectEach(onBus, errSecNotAvailable), 1s);
}

TEST_F(SecretService, a_hung_service_costs_one_bounded_wait_and_is_asked_again_later) {
    KeyringDaemon daemon(home, Keyring::unlocked);
    SecretServiceOnDemand connected(bounds);
    ASSERT_EQ(connected.SecItemAdd(item), errSecSuccess);
    SecretServiceOnDemand fresh(bounds);

    daemon.suspend();
    for (SecretServiceOnDemand* keychain : {&connected, &fresh}) EXPECT_LT(expectEach(*keychain, errSecIO), 1200ms);
    daemon.resume();
    std::this_thread::sleep_for(bounds.retreat);
    for (SecretServiceOnDemand* keychain : {&connected, &fresh})
        EXPECT_EQ(keychain->SecItemCopyMatching(query).status, errSecSuccess);
}

TEST_F(SecretService, is_found_again_after_a_restart) {
    auto daemon = std::make_unique<KeyringDaemon>(home, Keyring::unlocked);
    SecretServiceOnDemand keychain(bounds);
    ASSERT_EQ(keychain.SecItemAdd(item), errSecSuccess);
    daemon.reset();
    daemon = std::make_unique<KeyringDaemon>(home, Keyring::unlocked);
    EXPECT_EQ(keychain.SecItemCopyMatching(query).status, errSecSuccess);
}

TEST_F(LockedKeyring, is_not_taken_for_an_empty_one_and_opens_with_the_users_login) {
    KeyringDaemon daemon(home, Keyring::locked);
    SecretServiceOnDemand keychain(bounds);
    EXPECT_LT(expectEach(keychain, errSecInteractionNotAllowed), 1s);
    daemon.unlock();
    auto [status, value] = keychain.SecItemCopyMatching(query);
    EXPECT_EQ(status, errSecSuccess);
    EXPECT_EQ(value, SecValue(std::get<CFData>(item.at(kSecValueData))));
    EXPECT_EQ(keychain.SecItemAdd(item), errSecDuplicateItem);
    EXPECT_EQ(keychain.SecItemDelete(query), errSecSuccess);
}

TEST_F(LockedKeyring, does_not_wait_longer_than_it_may_for_the_users_answer) {
    SessionBus::shared().ownMutePrompter();
    KeyringDaemon daemon(home, Keyring::locked);
    SecretServiceOnDemand keychain(bounds);
    EXPECT_LT(expectEach(keychain, errSecInteractionNotAllowed), 1s);
    daemon.unlock();
    EXPECT_EQ(keychain.SecItemCopyMatching(query).status, errSecSuccess);
}

TEST_F(LockedKeyring, waits_for_the_users_answer_until_it_is_interrupted) {
    SessionBus::shared().ownMutePrompter();
    KeyringDaemon daemon(home, Keyring::locked);
    SecretServiceOnDemand keychain({.call = 500ms});
    auto reading = std::async(std::launch::async, [&] { return keychain.SecItemCopyMatching(query).status; });
    EXPECT_EQ(reading.wait_for(1s), std::future_status::timeout);
    keychain.interrupt();
    EXPECT_EQ(reading.wait_for(5s), std::future_status::ready);
    EXPECT_LT(expectEach(keychain, errSecIO), 1s);
}

TEST_F(SecretService, outlives_the_session_bus) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    auto scene = [this] {
        KeyringDaemon daemon(home, Keyring::unlocked);
        SecretServiceOnDemand keychain(bounds);
        bool worked = keychain.SecItemAdd(item) == errSecSuccess;
        SessionBus::shared().end();
        bool ended = keychain.SecItemCopyMatching(query).status == errSecNotAvailable;
        // This process's own home: no destructor runs.
        std::filesystem::remove_all(home.path());
        std::_Exit(worked && ended ? 0 : 1);
    };
    EXPECT_EXIT(scene(), ::testing::ExitedWithCode(0), "");
}

}  // namespace tobrel::testing
