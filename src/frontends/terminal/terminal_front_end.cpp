#include "frontends/terminal/terminal_front_end.h"

#include <unistd.h>

#include <utility>

#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/line_mode.h"
#include "frontends/terminal/output.h"
#include "frontends/terminal/screen_mode.h"

namespace tobrel {

TerminalFrontEnd::TerminalFrontEnd(int input, int output, TerminalEnvironment environment, NSWorkspace& browser)
    : input_(input),
      output_(output),
      environment_(std::move(environment)),
      browser_(browser),
      clipboard_(std::make_unique<terminal::Clipboard>(output, environment_)) {}

TerminalFrontEnd::~TerminalFrontEnd() = default;

bool TerminalFrontEnd::isInteractive() const {
    return environment_.takesEscapeSequences() && isatty(input_) && isatty(output_);
}

void TerminalFrontEnd::attach(Sheet& sheet, MainLoop& loop) {
    terminal_ = std::make_unique<terminal::Terminal>(
        terminal::Terminal{input_, output_, environment_, *clipboard_, sheet, loop});
    mode_ = std::make_unique<terminal::LineMode>(*terminal_);
}

void TerminalFrontEnd::appear() {
    if (isInteractive()) mode_ = std::make_unique<terminal::ScreenMode>(*terminal_);
    mode_->appear();
}

void TerminalFrontEnd::mainQueueRanDry(bool changed) {
    mode_->mainQueueRanDry(changed);
}

void TerminalFrontEnd::requestEnded(const std::optional<NSError>& cancelled, bool) {
    clipboard_->finish();
    mode_->requestEnded(cancelled ? terminal::Mode::End::cancelled : terminal::Mode::End::completed, unopened_);
    // Restores the terminal before the host writes anything of its own.
    mode_.reset();
}

void TerminalFrontEnd::setString(const std::string& text, const std::string& type) {
    if (type == NSPasteboardTypeString) clipboard_->set(text, terminal_->loop);
}

bool TerminalFrontEnd::openURL(const std::string& url) {
    bool opened = browser_.openURL(url);
    unopened_ = opened ? std::nullopt : std::optional(url);
    return opened;
}

void TerminalFrontEnd::beep() {
    if (isatty(output_)) terminal::writeAll(output_, "\a");
    if (mode_) mode_->beeped();
}

}  // namespace tobrel
