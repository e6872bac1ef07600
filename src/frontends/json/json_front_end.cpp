#include "frontends/json/json_front_end.h"

#include <unistd.h>

#include <boost/json.hpp>
#include <cerrno>
#include <utility>

#include "frontends/json/sheet_user.h"
#include "frontends/json/view_json.h"
#include "platform/main_loop.h"
#include "text/utf8.h"

namespace tobrel {

namespace json = boost::json;

namespace {

constexpr const char* escapeKey = "\x1b";
constexpr std::size_t mostReadAhead = 64 * 1024;

std::string whatIsAwaited(const instruction::Wait& wait) {
    return wait.title ? "button “" + *wait.title + "”" : "label with “" + wait.text.value_or("") + "”";
}

}  // namespace

void JsonFrontEnd::attach(Sheet& sheet, MainLoop& loop) {
    sheet_ = &sheet;
    loop_ = &loop;
}

void JsonFrontEnd::appear() {
    takesInstructions_ = true;
    if (input_ == noInput) lines_.end();
}

void JsonFrontEnd::mainQueueRanDry(bool changed) {
    if (changed || lastSheet_.empty()) writeSheet();
    takeInstruction();
    watchWhileNeeded();
}

void JsonFrontEnd::requestEnded(const std::optional<NSError>& cancelled, bool changed) {
    if (changed) writeSheet();
    if (cancelled)
        writeEvent({{"event", "cancelled"},
                    {"domain", wellFormedUtf8(cancelled->domain)},
                    {"code", cancelled->code},
                    {"message", wellFormedUtf8(cancelled->localizedDescription())}});
    else
        writeEvent({{"event", "completed"}});
    ended_ = true;
    takesInstructions_ = false;
    watchWhileNeeded();
}

void JsonFrontEnd::setString(const std::string& text, const std::string& type) {
    if (type == NSPasteboardTypeString) writeEvent({{"event", "clipboard"}, {"text", wellFormedUtf8(text)}});
}

bool JsonFrontEnd::openURL(const std::string& url) {
    writeEvent({{"event", "open"}, {"url", wellFormedUtf8(url)}});
    return !ended_;
}

void JsonFrontEnd::beep() {
    writeEvent({{"event", "beep"}});
}

void JsonFrontEnd::Log::write(OSLogType type, std::string_view subsystem, std::string_view category,
                              std::string_view message) {
    output_.write(json::serialize(json::object{{"event", "log"},
                                               {"level", type == OSLogType::error ? "error" : "info"},
                                               {"subsystem", wellFormedUtf8(subsystem)},
                                               {"category", wellFormedUtf8(category)},
                                               {"message", wellFormedUtf8(message)}}));
}

void JsonFrontEnd::writeEvent(const json::object& event) {
    if (!ended_) output_.write(json::serialize(event));
}

void JsonFrontEnd::writeSheet() {
    std::string line = json::serialize(sheetEvent(sheet_->preferredContentSize(), sheet_->rootView()));
    if (line == lastSheet_) return;
    output_.write(line);
    lastSheet_ = std::move(line);
}

void JsonFrontEnd::readInput() {
    char buffer[16 * 1024];
    ssize_t count = read(input_, buffer, sizeof buffer);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count > 0)
        lines_.add({buffer, static_cast<std::size_t>(count)});
    else
        lines_.end();
}

// Only while no line is at hand, so that no more is read ahead than one piece; somewhat more while an instruction
// waits, to learn whether the input has ended.
void JsonFrontEnd::watchWhileNeeded() {
    bool wantsMore = !lines_.hasLine() || (waiting_ && lines_.size() < mostReadAhead);
    bool needed = takesInstructions_ && wantsMore && !lines_.hasEnded();
    if (needed == watching_) return;
    watching_ = needed;
    if (needed)
        loop_->watchInput(input_, [this] { readInput(); });
    else
        loop_->unwatchInput(input_);
}

void JsonFrontEnd::takeInstruction() {
    if (!takesInstructions_) return;
    if (waiting_) {
        bool isThere = sheet_user::sees(sheet_->rootView(), *waiting_);
        // The sheet changes no more by itself, and nobody is left to close it.
        bool inVain = lines_.hasEnded() && !waiting_->limit && !sheet_->isWorking();
        if (!isThere && !inVain) return;
        if (!isThere) refuse("The " + whatIsAwaited(*waiting_) + " cannot come any more.");
        waiting_.reset();
        patience_.reset();
    }
    if (auto line = lines_.next()) {
        loop_->async([this, line = std::move(*line)] { carryOut(line); });
    } else if (lines_.hasEnded()) {
        if (input_ == noInput && sheet_->isWorking()) return;
        takesInstructions_ = false;
        sheet_->close();
    }
}

void JsonFrontEnd::carryOut(const LineBuffer::Line& line) {
    if (ended_) return;
    if (line.isTooLong) return refuse("This line is longer than 1 MiB.");
    auto parsed = parseInstruction(line.text);
    if (auto* refusal = std::get_if<Refusal>(&parsed)) return refuse(refusal->message);
    if (auto refusal = carryOut(std::get<Instruction>(parsed))) refuse(refusal->message);
}

std::optional<Refusal> JsonFrontEnd::carryOut(const Instruction& instruction) {
    NSView& root = sheet_->rootView();
    if (auto* click = std::get_if<instruction::Click>(&instruction)) return sheet_user::click(root, *click);
    if (auto* type = std::get_if<instruction::Type>(&instruction)) return sheet_user::type(root, *type);
    if (auto* select = std::get_if<instruction::Select>(&instruction)) return sheet_user::select(root, *select);
    auto* key = std::get_if<instruction::Key>(&instruction);
    if (key && key->key != escapeKey) return sheet_user::pressKey(root, key->key);
    if (auto* wanted = std::get_if<instruction::Wait>(&instruction))
        wait(*wanted);
    else
        sheet_->close();
    return std::nullopt;
}

void JsonFrontEnd::wait(const instruction::Wait& wait) {
    waiting_ = wait;
    if (wait.limit) patience_ = loop_->startTimer(*wait.limit, [this] { giveUpWaiting(); });
}

void JsonFrontEnd::giveUpWaiting() {
    if (ended_ || !waiting_) return;
    refuse("The " + whatIsAwaited(*waiting_) + " has not come in time.");
    waiting_.reset();
}

void JsonFrontEnd::refuse(const std::string& message) {
    writeEvent({{"event", "refused"}, {"message", message}});
}

}  // namespace tobrel
