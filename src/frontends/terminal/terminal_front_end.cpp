#include "frontends/terminal/terminal_front_end.h"

#include <fcntl.h>
#include <unistd.h>

#include <utility>

#include "frontends/terminal/clipboard.h"
#include "frontends/terminal/line_mode.h"
#include "frontends/terminal/raw_terminal.h"
#include "frontends/terminal/screen_mode.h"

namespace tobrel {

TerminalFrontEnd::TerminalFrontEnd(int input, int output, TerminalEnvironment environment, NSWorkspace& browser)
    : input_(input),
      output_(output),
      environment_(std::move(environment)),
      browser_(browser),
      clipboard_(std::make_unique<terminal::Clipboard>(output, environment_)) {}

TerminalFrontEnd::~TerminalFrontEnd() = default;

void TerminalFrontEnd::attach(Sheet& sheet, MainLoop& loop) {
    terminal_ = std::make_unique<terminal::Terminal>(
        terminal::Terminal{input_, output_, output_, environment_, *clipboard_, sheet, loop});
    mode_ = std::make_unique<terminal::LineMode>(*terminal_);
}

void TerminalFrontEnd::appear() {
    if (isatty(input_) && !isatty(output_)) terminal_->output = terminalForSheet();
    bool canDraw = environment_.takesEscapeSequences() && isatty(input_) && isatty(terminal_->output);
    if (canDraw)
        mode_ = std::make_unique<terminal::ScreenMode>(*terminal_);
    else if (terminal_->output != output_)
        mode_ = std::make_unique<terminal::LineMode>(*terminal_);
    mode_->appear();
}

// Whoever sits before it answers the sheet there, while the output gets the result.
int TerminalFrontEnd::terminalForSheet() {
    controllingTerminal_ =
        FileDescriptor(open(environment_.controllingTerminal.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (isatty(controllingTerminal_.number())) return controllingTerminal_.number();
    if (!isatty(STDERR_FILENO)) return output_;
    controllingTerminal_ = FileDescriptor(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    return controllingTerminal_.number();
}

void TerminalFrontEnd::mainQueueRanDry(bool changed) {
    mode_->mainQueueRanDry(changed);
}

void TerminalFrontEnd::requestEnded(const std::optional<NSError>& cancelled, bool changed) {
    mode_->requestEnded(cancelled ? terminal::Mode::End::cancelled : terminal::Mode::End::completed, unopened_,
                        changed);
    // Restores the terminal before the host writes anything of its own.
    mode_.reset();
}

void TerminalFrontEnd::setString(const std::string& text, const std::string& type) {
    if (type == NSPasteboardTypeString) clipboard_->set(text);
}

bool TerminalFrontEnd::openURL(const std::string& url) {
    bool opened = browser_.openURL(url);
    unopened_ = opened ? std::nullopt : std::optional(url);
    return opened;
}

void TerminalFrontEnd::beep() {
    if (isatty(terminal_->output)) terminal::showOn(terminal_->output, "\a");
    if (mode_) mode_->beeped();
}

}  // namespace tobrel
