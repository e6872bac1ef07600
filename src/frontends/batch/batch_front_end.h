#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "frontends/batch/dialogue.h"
#include "frontends/sheet/user.h"
#include "platform/front_end.h"
#include "platform/log.h"

namespace tobrel {

// The sheet for scripts: answers it as the task says and writes the result alone. The desktop's clipboard, browser and
// sound are left alone.
class BatchFrontEnd : public FrontEnd {
public:
    enum class Form { plain, json };

    // Does not close the descriptor.
    BatchFrontEnd(const batch::Task& task, Form form, int output);

    std::optional<std::string> obstacle() const override { return std::nullopt; }
    void attach(Sheet& sheet, MainLoop& loop) override;
    void appear() override {}
    void mainQueueRanDry(bool changed) override;
    void requestEnded(const std::optional<NSError>& cancelled, bool changed) override;
    std::optional<std::string> shortfall() const override { return shortfall_; }
    OSLogSink* logSink() override { return &log_; }

    void clearContents() override {}
    void setString(const std::string& text, const std::string& type) override;
    bool openURL(const std::string& url) override;
    void beep() override {}

private:
    // The log's info lines tell of a success, each of one.
    class SuccessLog : public OSLogSink {
    public:
        void write(OSLogType type, std::string_view, std::string_view, std::string_view) override {
            if (type == OSLogType::info) told_ = true;
        }
        bool told() const { return told_; }
        void forget() { told_ = false; }

    private:
        std::atomic<bool> told_ = false;
    };

    void press(NSButton& button);
    void end(const batch::End& end);
    bool write(const batch::Done& done) const;

    const std::unique_ptr<batch::Dialogue> dialogue_;
    const Form form_;
    const int output_;
    SuccessLog log_;
    batch::Seen seen_;
    sheet::Unanswered unanswered_;
    Sheet* sheet_ = nullptr;
    MainLoop* loop_ = nullptr;
    bool ended_ = false;
    std::optional<std::string> shortfall_;
};

}  // namespace tobrel
