#include "host/compose.h"

#include <unistd.h>

#include <filesystem>

#include "dispatch/action_id.h"
#include "frontends/json/json_front_end.h"
#include "frontends/terminal/terminal_front_end.h"
#include "host/counted_parts.h"
#include "platform/linux/data_folder.h"
#include "platform/linux/file_provider/file_provider.h"
#include "platform/linux/file_provider/item_mapping.h"
#include "platform/linux/files_posix.h"
#include "platform/linux/log_journald.h"
#include "platform/linux/log_stream.h"
#include "platform/linux/main_loop_poll.h"
#include "platform/linux/user_database_posix.h"
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

private:
    std::unique_ptr<OSLogSink> system_;
    OSLogSink* const frontEnd_;
};

// For commands that open nothing.
class NoBrowser : public NSWorkspace {
public:
    bool openURL(const std::string&) override { return false; }
};

Selection select(FileProviderRegistry& registry, const std::vector<std::string>& words) {
    constexpr std::string_view identifierPrefix = "id:";
    std::error_code error;
    ItemMapping mapping(registry, std::filesystem::current_path(error).native());
    Selection selection;
    for (const auto& word : words) {
        if (word.starts_with(identifierPrefix)) {
            selection.items.push_back(word.substr(identifierPrefix.size()));
            continue;
        }
        auto mapped = mapping.map(word);
        if (!mapped) {
            selection.unmapped = mapped.failure().sentence;
            break;
        }
        if (!selection.domainIdentifier) selection.domainIdentifier = mapped->domain;
        selection.items.push_back(std::move(mapped->item));
    }
    return selection;
}

std::unique_ptr<FrontEnd> makeFrontEnd(const Options& options, NSWorkspace& browser) {
    bool inputIsTaken = options.itemsFrom == "-";
    int input = inputIsTaken ? -1 : STDIN_FILENO;
    if (options.frontEnd == FrontEndKind::json) return std::make_unique<JsonFrontEnd>(STDOUT_FILENO, input);
    return std::make_unique<TerminalFrontEnd>(input, STDOUT_FILENO, TerminalEnvironment::ofProcess(), browser);
}

class LinuxComposition : public Composition {
public:
    LinuxComposition(const Options& options, const std::vector<std::string>& words, MakeOnlineParts makeOnlineParts)
        : users_(options.home),
          online_(makeOnlineParts ? makeOnlineParts(options, users_) : nullptr),
          frontEnd_(makeFrontEnd(options, online_ ? online_->browser() : noBrowser_)),
          log_(options, frontEnd_->logSink()) {
        auto registry = std::make_unique<FileProviderRegistry>(dataFolder(users_));
        selection_ = select(*registry, words);
        fileProvider_ = std::make_unique<SqliteFileProvider>(std::move(registry));
        countedFileProvider_.emplace(*fileProvider_, work_);
        platform_.emplace(platform::Platform{users_, files_, log_, loop_, *countedFileProvider_});
        if (online_) {
            countedSession_.emplace(online_->urlSession(), work_);
            onlinePlatform_.emplace(platform::Online{*countedSession_, online_->keychain(), online_->text(), *frontEnd_,
                                                     *frontEnd_, *frontEnd_, infoDictionary_});
        }
        platform::install(&*platform_, onlinePlatform_ ? &*onlinePlatform_ : nullptr);
    }

    // What calls back ends before all that its callbacks use; resolution's callbacks may still ask the server.
    ~LinuxComposition() override {
        fileProvider_.reset();
        if (online_) online_->endRequests();
        platform::install(nullptr, nullptr);
    }

    MainLoop& loop() override { return loop_; }
    FrontEnd& frontEnd() override { return *frontEnd_; }
    const WorkCounter& work() override { return work_; }
    const Selection& selection() override { return selection_; }
    void finishSignals() override { fileProvider_->waitForSignals(); }

private:
    PosixUserDatabase users_;
    PosixFiles files_;
    PollMainLoop loop_;
    WorkCounter work_{loop_};
    NoBrowser noBrowser_;
    const std::unique_ptr<OnlineParts> online_;
    const std::unique_ptr<FrontEnd> frontEnd_;
    Log log_;
    const InfoDictionary infoDictionary_{{"CFBundleShortVersionString", TOBREL_VERSION},
                                         {"CFBundleVersion", TOBREL_VERSION},
                                         {"CFBundleExecutable", "tobrel-action"}};
    Selection selection_;
    std::unique_ptr<SqliteFileProvider> fileProvider_;
    std::optional<CountedFileProvider> countedFileProvider_;
    std::optional<CountedURLSession> countedSession_;
    std::optional<platform::Platform> platform_;
    std::optional<platform::Online> onlinePlatform_;
};

}  // namespace

std::variant<std::unique_ptr<Composition>, std::string> compose(const Options& options,
                                                                const std::vector<std::string>& words,
                                                                MakeOnlineParts makeOnlineParts) {
    bool needsFrontEnd = options.actionIdentifier != ActionID::keep && options.actionIdentifier != ActionID::unkeep;
    if (needsFrontEnd && options.frontEnd == FrontEndKind::gtk)
        return "the gtk front end is not installed; use --front-end terminal";
    return std::make_unique<LinuxComposition>(options, words, makeOnlineParts);
}

}  // namespace tobrel::host
