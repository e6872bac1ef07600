#include "host/compose.h"

#include <unistd.h>

#include <filesystem>

#include "dispatch/uilog.h"
#include "host/counted_parts.h"
#include "host/factories.h"
#include "host/process.h"
#include "host/program.h"
#include "platform/front_end.h"
#include "platform/linux/end_signals.h"
#include "platform/linux/file_provider/file_provider.h"
#include "platform/linux/file_provider/item_mapping.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/log_sinks.h"
#include "platform/linux/user_database_posix.h"
#include "platform/log.h"
#include "platform/main_loop.h"
#include "platform/online_parts.h"
#include "platform/platform.h"

namespace tobrel::host {

namespace {

// Hands each line to every sink there is.
class Log : public OSLogSink {
public:
    Log(const Options& options, OSLogSink* frontEnd) : frontEnd_(frontEnd) {
        bool mayAskJournal =
            options.log == LogDestination::journal || (options.log == LogDestination::automatic && !options.home);
        if (options.log == LogDestination::standardError)
            system_ = std::make_unique<StreamLog>(STDERR_FILENO);
        else if (mayAskJournal)
            system_ = makeJournaldLog();
    }

    void write(OSLogType type, std::string_view subsystem, std::string_view category,
               std::string_view message) override {
        for (OSLogSink* sink : {system_.get(), frontEnd_})
            if (sink) sink->write(type, subsystem, category, message);
    }

    // Of the program itself, not of the extension: the front end shows no such lines.
    void note(const std::string& sentence) {
        if (system_) system_->write(OSLogType::error, uilog().subsystem, "files", sentence);
    }

private:
    std::unique_ptr<OSLogSink> system_;
    OSLogSink* const frontEnd_;
};

Selection select(FileProviderRegistry& registry, std::vector<std::string> words) {
    constexpr std::string_view identifierPrefix = "id:";
    std::error_code error;
    ItemMapping mapping(registry, std::filesystem::current_path(error).native());
    Selection selection;
    // There may be a million: each word becomes its item in its place.
    for (auto word = words.begin(); word != words.end(); ++word) {
        if (word->starts_with(identifierPrefix)) {
            word->erase(0, identifierPrefix.size());
            continue;
        }
        auto mapped = mapping.map(*word);
        if (!mapped) {
            selection.unmapped = mapped.failure().sentence;
            words.erase(word, words.end());
            break;
        }
        if (!selection.domainIdentifier) selection.domainIdentifier = mapped->domain;
        *word = std::move(mapped->item);
    }
    selection.items = std::move(words);
    return selection;
}

class LinuxComposition : public Composition {
public:
    LinuxComposition(const Options& options, const Factories& factories)
        : users_(options.home),
          loop_(factories.loop()),
          endSignals_(asksServer(options) ? std::make_unique<LinuxEndSignals>(*loop_) : nullptr),
          browser_(factories.browser()),
          frontEnd_(factories.frontEnd(options, *browser_)) {}

    // What calls back ends before all that its callbacks use; resolution's callbacks may still ask the server.
    ~LinuxComposition() override {
        fileProvider_.reset();
        if (online_) online_->endRequests();
    }

    void install(const Options& options, std::vector<std::string> words, const Factories& factories) {
        if (factories.onlineParts) online_ = factories.onlineParts(options, users_);
        log_.emplace(options, frontEnd_->logSink());
        auto registry = std::make_unique<FileProviderRegistry>(dataFolder(users_));
        selection_ = select(*registry, std::move(words));
        fileProvider_ = std::make_unique<SqliteFileProvider>(std::move(registry));
        countedFileProvider_.emplace(*fileProvider_, work_);
        std::optional<platform::Online> online;
        if (online_) {
            countedSession_.emplace(online_->urlSession(), work_);
            countedRequestQueue_.emplace(online_->requestQueue(), work_);
            online.emplace(platform::Online{*countedSession_, *countedRequestQueue_, online_->keychain(),
                                            online_->text(), infoDictionary_});
        }
        installation_.emplace(platform::Platform{users_, files_, &*log_},
                              platform::Request{*loop_, *countedFileProvider_}, online,
                              platform::Desktop{*frontEnd_, *frontEnd_, *frontEnd_});
    }

    MainLoop& loop() override { return *loop_; }
    FrontEnd& frontEnd() override { return *frontEnd_; }
    std::unique_ptr<EndSignals> takeEndSignals() override { return std::move(endSignals_); }
    const WorkCounter& work() override { return work_; }
    Selection takeSelection() override { return std::move(selection_); }
    void finishSignals() override { fileProvider_->waitForSignals(); }

private:
    PosixUserDatabase users_;
    PosixFiles files_{[this](NoticeKind kind, const std::string& sentence) {
        say(sentence);
        if (kind == NoticeKind::trouble && log_) log_->note(sentence);
    }};
    const std::unique_ptr<MainLoop> loop_;
    WorkCounter work_{*loop_};
    // Before whatever starts threads.
    std::unique_ptr<LinuxEndSignals> endSignals_;
    const std::unique_ptr<NSWorkspace> browser_;
    std::unique_ptr<OnlineParts> online_;
    const std::unique_ptr<FrontEnd> frontEnd_;
    std::optional<Log> log_;
    const InfoDictionary infoDictionary_{{"CFBundleShortVersionString", TOBREL_VERSION},
                                         {"CFBundleVersion", TOBREL_VERSION},
                                         {"CFBundleExecutable", "tobrel-action"}};
    Selection selection_;
    std::unique_ptr<SqliteFileProvider> fileProvider_;
    std::optional<CountedFileProvider> countedFileProvider_;
    std::optional<CountedURLSession> countedSession_;
    std::optional<CountedBatchQueue> countedRequestQueue_;
    std::optional<platform::Installation> installation_;
};

}  // namespace

std::variant<std::unique_ptr<Composition>, std::string> compose(const Options& options, std::vector<std::string> words,
                                                                const Factories& factories) {
    auto composition = std::make_unique<LinuxComposition>(options, factories);
    if (needsFrontEnd(options))
        if (auto obstacle = composition->frontEnd().obstacle()) return *obstacle;
    composition->install(options, std::move(words), factories);
    return composition;
}

}  // namespace tobrel::host
