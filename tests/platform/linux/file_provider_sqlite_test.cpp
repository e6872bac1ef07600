#include "platform/linux/file_provider_sqlite.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <thread>

#include "support/temporary_folder.h"

namespace tobrel {

namespace {

namespace fs = std::filesystem;

using Signalled = std::optional<NSError>;

struct Url {
    std::optional<NSURL> url;
    std::optional<NSError> error;
};

struct Identifier {
    std::optional<std::string> item, domain;
    std::optional<NSError> error;
};

class SqliteFileProviderTest : public ::testing::Test {
protected:
    SqliteFileProviderTest() {
        fs::create_directory(root_);
        EXPECT_TRUE(admin_.addDomain("work", root_));
        testing::writeFile(root_ + "/a.txt", "");
        add("a", "a.txt");
        add("gone", "gone.txt");
        provider_ = std::make_unique<SqliteFileProvider>(std::make_unique<FileProviderRegistry>(data_));
    }

    void add(const std::string& item, const std::string& path) {
        auto edit = admin_.editItems("work");
        EXPECT_TRUE((*edit)->add(item, path) && (*edit)->commit());
    }
    std::shared_ptr<NSFileProviderManager> manager() { return provider_->managerForDomain({"work"}); }
    Url url(NSFileProviderManager& manager, const std::string& item) {
        std::promise<Url> promise;
        manager.getUserVisibleURLForItemIdentifier(item, [&](auto url, auto error) {
            promise.set_value({std::move(url), std::move(error)});
        });
        return promise.get_future().get();
    }
    Identifier identifier(const std::string& path) {
        std::promise<Identifier> promise;
        provider_->getIdentifierForUserVisibleFileAtURL({path}, [&](auto item, auto domain, auto error) {
            promise.set_value({std::move(item), std::move(domain), std::move(error)});
        });
        return promise.get_future().get();
    }
    std::pair<std::vector<std::string>, std::optional<NSError>> domains() {
        std::promise<std::pair<std::vector<std::string>, std::optional<NSError>>> promise;
        provider_->getDomainsWithCompletionHandler([&](auto domains, auto error) {
            std::vector<std::string> identifiers;
            for (auto& domain : domains) identifiers.push_back(domain.identifier);
            promise.set_value({identifiers, error});
        });
        return promise.get_future().get();
    }
    Signalled signal(NSFileProviderManager& manager, const std::string& container) {
        std::promise<Signalled> promise;
        manager.signalEnumeratorForContainerItemIdentifier(container, [&](auto error) { promise.set_value(error); });
        return promise.get_future().get();
    }
    long signals() { return (*admin_.read())->domains()[0].signals; }

    testing::TemporaryFolder temporary_;
    const std::string base_ = fs::canonical(temporary_.path());
    const std::string root_ = base_ + "/Tobrel";
    const std::string data_ = base_ + "/data";
    FileProviderRegistry admin_{data_};
    std::unique_ptr<SqliteFileProvider> provider_;
};

}  // namespace

TEST_F(SqliteFileProviderTest, tells_what_is_registered) {
    EXPECT_EQ(domains().first, std::vector<std::string>{"work"});
    EXPECT_FALSE(provider_->managerForDomain({"other"}));
    auto work = manager();
    ASSERT_TRUE(work);
    EXPECT_EQ(url(*work, "a").url->path, root_ + "/a.txt");
    EXPECT_EQ(url(*work, "root").url->path, root_);
    EXPECT_EQ(url(*work, "nobody").error->code, NSFileProviderErrorNoSuchItem);
    Url gone = url(*work, "gone");
    EXPECT_FALSE(gone.url);
    EXPECT_EQ(gone.error->text, "The file “" + root_ + "/gone.txt” has gone.");

    EXPECT_EQ(identifier(root_ + "/a.txt").item, "a");
    EXPECT_EQ(identifier(root_ + "/a.txt").domain, "work");
    EXPECT_EQ(identifier(root_).item, "root");
    EXPECT_TRUE(identifier(root_ + "/b.txt").error);
    EXPECT_TRUE(identifier(base_ + "/Tobrel2").error);
    EXPECT_TRUE(identifier("a.txt").error);

    EXPECT_TRUE(provider_->startAccessingSecurityScopedResource({root_ + "/a.txt"}));
    provider_->stopAccessingSecurityScopedResource({root_ + "/a.txt"});
    EXPECT_FALSE(provider_->startAccessingSecurityScopedResource({root_ + "/gone.txt"}));
}

TEST_F(SqliteFileProviderTest, counts_signals_of_the_working_set_alone) {
    auto work = manager();
    EXPECT_FALSE(signal(*work, NSFileProviderWorkingSetContainerItemIdentifier));
    EXPECT_TRUE(signal(*work, "root"));
    EXPECT_EQ(signals(), 1);
    ASSERT_TRUE(admin_.removeDomain("work"));
    EXPECT_TRUE(signal(*work, NSFileProviderWorkingSetContainerItemIdentifier));
    EXPECT_TRUE(url(*work, "a").error);
    EXPECT_FALSE(manager());
}

TEST_F(SqliteFileProviderTest, a_look_up_sees_every_change_made_before_it) {
    auto work = manager();
    testing::writeFile(root_ + "/b.txt", "");
    std::promise<Url> promise;
    // From within a completion, so that the thread goes straight from one look-up to the next.
    work->getUserVisibleURLForItemIdentifier("a", [&](auto, auto) {
        add("a", "b.txt");
        work->getUserVisibleURLForItemIdentifier("a", [&](auto url, auto error) {
            promise.set_value({std::move(url), std::move(error)});
        });
    });
    EXPECT_EQ(promise.get_future().get().url->path, root_ + "/b.txt");
}

TEST_F(SqliteFileProviderTest, look_ups_really_run_at_once) {
    auto work = manager();
    std::latch allIn(4);
    std::latch done(4);
    for (int number = 0; number < 4; ++number)
        work->getUserVisibleURLForItemIdentifier("a", [&](auto, auto) {
            allIn.arrive_and_wait();
            done.count_down();
        });
    done.wait();
}

TEST_F(SqliteFileProviderTest, a_pin_commands_signal_takes_one_thread_and_is_waited_for) {
    std::thread::id listThread, signalThread;
    provider_->getDomainsWithCompletionHandler([&](auto domains, auto) {
        listThread = std::this_thread::get_id();
        provider_->managerForDomain(domains[0])
            ->signalEnumeratorForContainerItemIdentifier(NSFileProviderWorkingSetContainerItemIdentifier,
                                                         [&](auto) { signalThread = std::this_thread::get_id(); });
    });
    provider_->waitForSignals();
    EXPECT_EQ(signals(), 1);
    EXPECT_EQ(signalThread, listThread);
}

TEST_F(SqliteFileProviderTest, waits_for_no_look_up) {
    std::promise<void> begun, release;
    manager()->getUserVisibleURLForItemIdentifier("a", [&](auto, auto) {
        begun.set_value();
        release.get_future().wait();
    });
    begun.get_future().wait();
    provider_->waitForSignals();
    release.set_value();
    provider_.reset();
}

TEST_F(SqliteFileProviderTest, ends_with_work_in_flight_and_runs_no_completion_afterwards) {
    for (int round = 0; round < 20; ++round) {
        auto alive = std::make_shared<int>();
        std::atomic<int> completed = 0;
        auto ending = std::make_unique<SqliteFileProvider>(std::make_unique<FileProviderRegistry>(data_));
        auto work = ending->managerForDomain({"work"});
        for (int number = 0; number < 500; ++number) {
            work->getUserVisibleURLForItemIdentifier("a", [&completed, alive](auto, auto) { ++completed; });
            if (number % 100 == 0)
                work->signalEnumeratorForContainerItemIdentifier(NSFileProviderWorkingSetContainerItemIdentifier,
                                                                 [&completed, alive](auto) { ++completed; });
        }
        ending.reset();
        int completedByThen = completed;
        EXPECT_EQ(alive.use_count(), 1);
        work->getUserVisibleURLForItemIdentifier("a", [&completed, alive](auto, auto) { ++completed; });
        EXPECT_EQ(alive.use_count(), 1);
        EXPECT_EQ(completed, completedByThen);
    }
}

TEST_F(SqliteFileProviderTest, may_be_destroyed_by_its_own_completion) {
    for (int round = 0; round < 20; ++round) {
        auto own = std::make_shared<SqliteFileProvider>(std::make_unique<FileProviderRegistry>(data_));
        auto work = own->managerForDomain({"work"});
        std::promise<void> destroyed;
        for (int number = 0; number < 10; ++number) work->getUserVisibleURLForItemIdentifier("a", [](auto, auto) {});
        own->getDomainsWithCompletionHandler([own = std::move(own), work, &destroyed](auto, auto) mutable {
            work.reset();
            own.reset();
            destroyed.set_value();
        });
        work.reset();
        destroyed.get_future().wait();
    }
}

TEST_F(SqliteFileProviderTest, hands_on_why_the_registry_cannot_be_read) {
    auto work = manager();
    provider_ = std::make_unique<SqliteFileProvider>(std::make_unique<FileProviderRegistry>(base_ + "/spoilt"));
    fs::create_directory(base_ + "/spoilt");
    testing::writeFile(base_ + "/spoilt/file-provider.sqlite", "nonsense");
    auto [identifiers, error] = domains();
    EXPECT_EQ(identifiers, std::vector<std::string>());
    ASSERT_TRUE(error);
    EXPECT_NE(error->text.find("/spoilt/file-provider.sqlite"), std::string::npos) << error->text;
    EXPECT_FALSE(provider_->managerForDomain({"work"}));
    EXPECT_TRUE(identifier(root_ + "/a.txt").error);
}

}  // namespace tobrel
