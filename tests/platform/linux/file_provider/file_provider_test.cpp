#include "platform/linux/file_provider/file_provider.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <thread>
#include <tuple>

#include "support/temporary_folder.h"

namespace tobrel {

namespace {

namespace fs = std::filesystem;

using Error = std::optional<NSError>;
using Url = std::tuple<std::optional<NSURL>, Error>;
using Identifier = std::tuple<std::optional<std::string>, std::optional<std::string>, Error>;

// What a completion is given, once it has been called.
template <class Answer, class Ask>
Answer answerTo(const Ask& ask) {
    auto promise = std::make_shared<std::promise<Answer>>();
    ask([promise](auto... values) { promise->set_value(Answer{std::move(values)...}); });
    return promise->get_future().get();
}

class SqliteFileProviderTest : public ::testing::Test {
protected:
    SqliteFileProviderTest() {
        fs::create_directory(root_);
        EXPECT_TRUE(admin_.addDomain("work", root_));
        testing::writeFile(root_ + "/a.txt", "");
        add("a", "a.txt");
        add("gone", "gone.txt");
        provider_ = makeProvider();
    }

    std::unique_ptr<SqliteFileProvider> makeProvider() {
        return std::make_unique<SqliteFileProvider>(std::make_unique<FileProviderRegistry>(base_ + "/data"));
    }
    void add(const std::string& item, const std::string& path) {
        auto edit = admin_.editItems("work");
        EXPECT_TRUE((*edit)->add(item, path) && (*edit)->commit());
    }
    std::shared_ptr<NSFileProviderManager> manager() { return provider_->managerForDomain({"work"}); }
    Url url(NSFileProviderManager& manager, const std::string& item) {
        return answerTo<Url>([&](auto completion) { manager.getUserVisibleURLForItemIdentifier(item, completion); });
    }
    Identifier identifier(const std::string& path) {
        return answerTo<Identifier>(
            [&](auto completion) { provider_->getIdentifierForUserVisibleFileAtURL({path}, completion); });
    }
    Error signal(NSFileProviderManager& manager, const std::string& container) {
        return answerTo<Error>(
            [&](auto completion) { manager.signalEnumeratorForContainerItemIdentifier(container, completion); });
    }
    long signals() { return (*admin_.read())->domains()[0].signals; }

    testing::TemporaryFolder temporary_;
    const std::string base_ = fs::canonical(temporary_.path());
    const std::string root_ = base_ + "/Tobrel";
    FileProviderRegistry admin_{base_ + "/data"};
    std::unique_ptr<SqliteFileProvider> provider_;
};

}  // namespace

TEST_F(SqliteFileProviderTest, tells_what_is_registered) {
    EXPECT_FALSE(provider_->managerForDomain({"other"}));
    auto work = manager();
    EXPECT_EQ(std::get<0>(url(*work, "a"))->path, root_ + "/a.txt");
    EXPECT_EQ(std::get<0>(url(*work, "root"))->path, root_);
    EXPECT_EQ(std::get<1>(url(*work, "nobody"))->code, NSFileProviderErrorNoSuchItem);
    auto [goneUrl, goneError] = url(*work, "gone");
    EXPECT_FALSE(goneUrl);
    EXPECT_EQ(goneError->text, "The file “" + root_ + "/gone.txt” has gone.");

    auto [item, domain, error] = identifier(root_ + "/a.txt");
    EXPECT_EQ(item, "a");
    EXPECT_EQ(domain, "work");
    EXPECT_EQ(std::get<0>(identifier(root_)), "root");
    for (const auto& unknown : {root_ + "/b.txt", base_ + "/Tobrel2", std::string("a.txt")})
        EXPECT_TRUE(std::get<2>(identifier(unknown))) << unknown;
}

TEST_F(SqliteFileProviderTest, counts_signals_of_the_working_set_alone) {
    auto work = manager();
    EXPECT_FALSE(signal(*work, NSFileProviderWorkingSetContainerItemIdentifier));
    EXPECT_TRUE(signal(*work, "root"));
    EXPECT_EQ(signals(), 1);
    ASSERT_TRUE(admin_.removeDomain("work"));
    EXPECT_TRUE(signal(*work, NSFileProviderWorkingSetContainerItemIdentifier));
    EXPECT_TRUE(std::get<1>(url(*work, "a")));
    EXPECT_FALSE(manager());
}

TEST_F(SqliteFileProviderTest, a_look_up_sees_every_change_made_before_it) {
    auto work = manager();
    testing::writeFile(root_ + "/b.txt", "");
    // From within a completion, so that the thread goes straight from one look-up to the next.
    auto [moved, error] = answerTo<Url>([&](auto completion) {
        work->getUserVisibleURLForItemIdentifier("a", [=, this](auto, auto) {
            add("a", "b.txt");
            work->getUserVisibleURLForItemIdentifier("a", completion);
        });
    });
    EXPECT_EQ(moved->path, root_ + "/b.txt");
}

TEST_F(SqliteFileProviderTest, look_ups_really_run_at_once) {
    auto work = manager();
    std::latch allIn(4), done(4);
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
        auto ending = makeProvider();
        auto count = [&completed, alive](auto...) { ++completed; };
        auto work = ending->managerForDomain({"work"});
        for (int number = 0; number < 500; ++number) {
            work->getUserVisibleURLForItemIdentifier("a", count);
            if (number % 100 == 0)
                work->signalEnumeratorForContainerItemIdentifier(NSFileProviderWorkingSetContainerItemIdentifier,
                                                                 count);
        }
        ending.reset();
        int completedByThen = completed;
        EXPECT_EQ(alive.use_count(), 2) << "held by this test only";
        work->getUserVisibleURLForItemIdentifier("a", count);
        EXPECT_EQ(alive.use_count(), 2);
        EXPECT_EQ(completed, completedByThen);
    }
}

TEST_F(SqliteFileProviderTest, may_be_destroyed_by_its_own_completion) {
    for (int round = 0; round < 20; ++round) {
        std::shared_ptr<SqliteFileProvider> own = makeProvider();
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

}  // namespace tobrel
