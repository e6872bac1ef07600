#include "frontends/batch/batch_front_end.h"

#include <boost/json.hpp>

#include "platform/file_descriptor.h"
#include "platform/main_loop.h"
#include "text/harmless_text.h"
#include "text/utf8.h"

namespace tobrel {

namespace {

std::string plainLine(const batch::Record& record) {
    std::string line;
    for (auto& column : record.columns) line += (&column == &record.columns.front() ? "" : "\t") + harmless(column);
    return line;
}

std::string jsonLine(const batch::Record& record) {
    boost::json::object object;
    for (auto& [name, value] : record.members) object[name] = wellFormedUtf8(value);
    return boost::json::serialize(object);
}

}  // namespace

BatchFrontEnd::BatchFrontEnd(const batch::Task& task, Form form, int output)
    : dialogue_(batch::dialogueFor(task)), form_(form), output_(output) {}

void BatchFrontEnd::attach(Sheet& sheet, MainLoop& loop) {
    sheet_ = &sheet;
    loop_ = &loop;
}

void BatchFrontEnd::mainQueueRanDry(bool) {
    unanswered_.ranDry(sheet_->isWorking());
    if (ended_ || sheet_->isWorking()) return;
    seen_.succeeded = log_.told();
    batch::Step step = dialogue_->next(sheet::rowsOf(sheet_->rootView()), seen_);
    if (auto* button = std::get_if<NSButton*>(&step)) return press(**button);
    if (auto* done = std::get_if<batch::Done>(&step))
        end(*done);
    else
        end(std::get<batch::NotDone>(step));
    sheet_->close();
}

void BatchFrontEnd::requestEnded(const std::optional<NSError>& cancelled, bool) {
    if (ended_ || cancelled) return;
    batch::End result = dialogue_->ended(sheet::rowsOf(sheet_->rootView()), seen_);
    bool broughtNothing = std::holds_alternative<batch::NotDone>(result);
    if (!broughtNothing || !sheet_->isWorking()) return end(result);
    std::string unanswered = unanswered_.sentence();
    end(batch::NotDone{unanswered.empty() ? "Closed before the server answered; nothing was changed." : unanswered});
}

void BatchFrontEnd::setString(const std::string& text, const std::string& type) {
    if (type == NSPasteboardTypeString) seen_.copied = text;
}

bool BatchFrontEnd::openURL(const std::string& url) {
    seen_.opened = url;
    return true;
}

void BatchFrontEnd::press(NSButton& button) {
    log_.forget();
    unanswered_.pressed(button);
    sheet::press(button);
    // The main queue runs dry once more, even where the press has led to nothing.
    loop_->async([] {});
}

void BatchFrontEnd::end(const batch::End& end) {
    ended_ = true;
    if (auto* notDone = std::get_if<batch::NotDone>(&end)) {
        shortfall_ = notDone->sentence;
        return;
    }
    auto& done = std::get<batch::Done>(end);
    if (write(done)) return;
    shortfall_ = "standard output cannot be written";
    if (done.records.size() == 1) *shortfall_ += "; the result was " + plainLine(done.records.front());
}

bool BatchFrontEnd::write(const batch::Done& done) const {
    std::string text;
    for (auto& record : done.records) text += (form_ == Form::json ? jsonLine(record) : plainLine(record)) + "\n";
    return writeWhole(output_, text);
}

}  // namespace tobrel
