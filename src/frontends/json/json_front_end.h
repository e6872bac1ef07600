#pragma once

#include <boost/json/fwd.hpp>
#include <memory>
#include <optional>
#include <string>

#include "frontends/json/instructions.h"
#include "frontends/json/line_writer.h"
#include "platform/front_end.h"
#include "platform/log.h"
#include "platform/main_loop.h"

namespace tobrel {

// The sheet for programs: events as JSON lines on one descriptor, instructions as JSON lines from another. The
// desktop's clipboard, browser and sound are left alone.
class JsonFrontEnd : public FrontEnd {
public:
    // In place of an input descriptor: the window closes by itself once the request no longer works.
    static constexpr int noInput = -1;

    // Closes neither descriptor. Must live until the loop has stopped; its destruction waits until what is written has
    // been read.
    JsonFrontEnd(int output, int input) : output_(output), log_(output_), input_(input) {}

    std::optional<std::string> obstacle() const override { return std::nullopt; }
    void attach(Sheet& sheet, MainLoop& loop) override;
    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void requestEnded(const std::optional<NSError>& cancelled, bool changed) override;
    std::optional<std::string> shortfall() const override { return std::nullopt; }
    OSLogSink* logSink() override { return &log_; }

    void clearContents() override {}
    void setString(const std::string& text, const std::string& type) override;
    bool openURL(const std::string& url) override;
    void beep() override;

private:
    class Log : public OSLogSink {
    public:
        explicit Log(LineWriter& output) : output_(output) {}
        void write(OSLogType type, std::string_view subsystem, std::string_view category,
                   std::string_view message) override;

    private:
        LineWriter& output_;
    };

    void writeEvent(const boost::json::object& event);
    void writeSheet();
    void readInput();
    void watchWhileNeeded();
    void takeInstruction();
    void carryOut(const LineBuffer::Line& line);
    std::optional<Refusal> carryOut(const Instruction& instruction);
    void wait(const instruction::Wait& wait);
    void giveUpWaiting();
    void refuse(const std::string& message);

    LineWriter output_;
    Log log_;
    std::string lastSheet_;
    Sheet* sheet_ = nullptr;
    MainLoop* loop_ = nullptr;

    const int input_;
    LineBuffer lines_;
    std::optional<instruction::Wait> waiting_;
    std::unique_ptr<Timer> patience_;
    bool takesInstructions_ = false;
    bool watching_ = false;
    bool ended_ = false;
};

}  // namespace tobrel
