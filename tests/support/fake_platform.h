#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/batch_queue.h"
#include "platform/desktop.h"
#include "platform/file_provider.h"
#include "platform/http.h"
#include "platform/keychain.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/user_database_posix.h"
#include "platform/linux_online/keychain/keychain_file.h"
#include "platform/linux_online/text_linux.h"
#include "platform/log.h"
#include "platform/main_queue.h"
#include "platform/platform.h"
#include "support/environment.h"
#include "support/temporary_folder.h"

// A small working world for the core. Each part records what was asked of it; nothing happens by itself: blocks run,
// and answers come, when the test says so.
namespace tobrel::testing {

// Runs every block on a thread of its own, all at once, and returns when the last has ended.
void onOtherThreads(const std::vector<std::function<void()>>& blocks);

class ManualMainQueue : public MainQueue {
public:
    void async(std::function<void()> block) override;
    // Runs the first queued block; false where there is none.
    bool runOne();
    // Runs what is queued, and what that queues.
    void run();

private:
    std::mutex mutex_;
    std::deque<std::function<void()>> blocks_;
};

class FakeURLSession : public URLSession {
public:
    void dataTask(URLRequest request, std::function<void(URLSessionAnswer)> completion) override;

    std::vector<URLRequest> requests() const;
    // The requests as "GET address" or "POST address body".
    std::vector<std::string> lines() const;
    // Answers the n-th request, counted from 0 and answered once, on another thread; its completion has run on return.
    void answer(std::size_t request, URLSessionAnswer answer);
    void answerLast(URLSessionAnswer answer);
    // Answers several requests on threads of their own.
    void answerAtOnce(const std::map<std::size_t, URLSessionAnswer>& answers);

private:
    std::function<void()> taken(std::size_t request, URLSessionAnswer answer);

    mutable std::mutex mutex_;
    std::vector<URLRequest> requests_;
    std::vector<std::function<void(URLSessionAnswer)>> completions_;
};

// Runs each block inside the call, a batch of its own, or holds them all back for one batch.
class FakeBatchQueue : public BatchQueue {
public:
    bool holds = false;
    void async(std::function<void(std::any& shared)> block) override;
    void runBatch();

private:
    std::vector<std::function<void(std::any&)>> held_;
};

URLSessionAnswer answered(int status, std::string body);
URLSessionAnswer unreachable(std::string sentence);

// Answers are held back until they are released by the text under which `calls` records the question, for example
// "url for a" or "identifier for /storage/a".
class FakeFileProvider : public NSFileProviderManagers {
public:
    std::vector<NSFileProviderDomain> domains{{"work"}};
    std::set<std::string> domainsWithoutManager;
    // What the lookups find: item -> path, path -> item.
    std::map<std::string, std::string> paths;
    std::map<std::string, std::string> identifiers;
    // What comes with a lookup that finds nothing.
    std::optional<NSError> error = NSError{NSFileProviderErrorDomain, NSFileProviderErrorNoSuchItem, "gone"};
    std::set<std::string> inaccessiblePaths;

    // A file that both lookups find.
    void add(const std::string& item, const std::string& path);
    // Everything asked so far, in order: "domains", "url for ITEM", "start PATH", "identifier for PATH", "stop PATH",
    // "signal CONTAINER in DOMAIN".
    std::vector<std::string> calls() const;
    // Gives the first held answer to that question on another thread and returns when its completion has run.
    void release(const std::string& question);
    // Gives all answers, and those to the questions that they lead to, on threads of their own.
    void releaseAll();

    void getDomainsWithCompletionHandler(
        std::function<void(std::vector<NSFileProviderDomain>, std::optional<NSError>)> completion) override;
    std::shared_ptr<NSFileProviderManager> managerForDomain(const NSFileProviderDomain& domain) override;
    void getIdentifierForUserVisibleFileAtURL(const NSURL& url,
                                              std::function<void(std::optional<NSFileProviderItemIdentifier>,
                                                                 std::optional<std::string>, std::optional<NSError>)>
                                                  completion) override;
    bool startAccessingSecurityScopedResource(const NSURL& url) override;
    void stopAccessingSecurityScopedResource(const NSURL& url) override;

private:
    class Manager;
    struct Held {
        std::string question;
        std::function<void()> answer;
    };
    void record(const std::string& call);
    void hold(const std::string& question, std::function<void()> answer);

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    std::vector<Held> held_;
};

class CountingFiles : public PosixFiles {
public:
    std::atomic<int> opened = 0;
    std::unique_ptr<FileReader> open(const std::string& path) override {
        ++opened;
        return PosixFiles::open(path);
    }
};

struct KeychainPlace {
    TemporaryFolder folder;
    PosixFiles files;
};

// The real one in a file, in a folder of its own.
class FakeKeychain : private KeychainPlace, public KeychainFile {
public:
    FakeKeychain() : KeychainFile(files, folder.file("keychain")) {}

    // Answers every call instead of the store.
    std::optional<OSStatus> failure;
    SecAttributes lastAdded;

    SecItemCopyResult SecItemCopyMatching(const SecAttributes& query) override {
        if (failure) return {*failure, std::nullopt};
        return KeychainFile::SecItemCopyMatching(query);
    }
    OSStatus SecItemAdd(const SecAttributes& attributes) override {
        return failure ? *failure : KeychainFile::SecItemAdd(lastAdded = attributes);
    }
    OSStatus SecItemDelete(const SecAttributes& query) override {
        return failure ? *failure : KeychainFile::SecItemDelete(query);
    }
    OSStatus replace(const SecAttributes& query, const SecAttributes& item) override {
        return failure ? *failure : KeychainFile::replace(query, item);
    }
};

class RecordingLog : public OSLogSink {
public:
    void write(OSLogType type, std::string_view subsystem, std::string_view category,
               std::string_view message) override;
    // "error: message" or "info: message"; a line of another subsystem or category than the extension's names it too.
    std::vector<std::string> lines() const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

// Pasteboard, browser and sound at once.
class FakeDesktop : public NSPasteboard, public NSWorkspace, public NSSound {
public:
    // Nothing until it is first cleared.
    std::optional<std::string> text;
    std::vector<std::string> opened;
    int beeps = 0;

    void clearContents() override { text = ""; }
    void setString(const std::string& string, const std::string& type) override {
        if (type == NSPasteboardTypeString) text.value() += string;
    }
    bool openURL(const std::string& url) override {
        opened.push_back(url);
        return true;
    }
    void beep() override { ++beeps; }
};

// Installed as the platform for its life: real files, users and texts, all else fakes.
class FakePlatform {
public:
    // In the private folder of a home folder of its own.
    std::string file(const std::string& name) { return home_.file(".tobrel/" + name); }
    void write(const std::string& name, const std::string& content);
    // Writes config.json.
    void configure(const std::string& server = "https://tobrel.example", const std::string& apiKey = "secret");

private:
    const EnvironmentVariable locale_{"LC_ALL", "C"}, zone_{"TZ", "UTC"};
    const TemporaryFolder home_;

public:
    PosixUserDatabase users{home_.path()};
    CountingFiles files;
    RecordingLog log;
    ManualMainQueue mainQueue;
    FakeFileProvider fileProvider;
    FakeURLSession urlSession;
    FakeBatchQueue requestQueue;
    FakeKeychain keychain;
    LinuxTextServices text;
    FakeDesktop desktop;

private:
    const InfoDictionary infoDictionary_;
    const platform::Installation installation_{{users, files, &log},
                                               {{mainQueue, fileProvider}},
                                               {{urlSession, requestQueue, keychain, text, infoDictionary_}},
                                               {{desktop, desktop, desktop}}};
};

}  // namespace tobrel::testing
