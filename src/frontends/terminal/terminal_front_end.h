#pragma once

#include <memory>
#include <optional>
#include <string>

#include "frontends/terminal/mode.h"
#include "platform/file_descriptor.h"
#include "platform/front_end.h"

namespace tobrel {

namespace terminal {
class Clipboard;
class Mode;
struct Terminal;
}  // namespace terminal

// Shows the sheet as text: drawn in place and driven by single keys on a terminal that can do that, otherwise line by
// line. Where the input is a terminal and the output is none, the sheet goes to the controlling terminal, and the
// output gets the result alone. SIGPIPE must be ignored by the host.
class TerminalFrontEnd : public FrontEnd {
public:
    // An input of -1 has nothing to say. The browser outlives the front end.
    TerminalFrontEnd(int input, int output, TerminalEnvironment environment, NSWorkspace& browser);
    ~TerminalFrontEnd() override;

    std::optional<std::string> obstacle() const override { return std::nullopt; }
    void attach(Sheet& sheet, MainLoop& loop) override;
    void appear() override;
    void mainQueueRanDry(bool changed) override;
    void requestEnded(const std::optional<NSError>& cancelled, bool changed) override;
    std::optional<std::string> shortfall() const override { return std::nullopt; }
    OSLogSink* logSink() override { return nullptr; }

    // A terminal's clipboard cannot be emptied: its content stays until the next text.
    void clearContents() override {}
    void setString(const std::string& text, const std::string& type) override;
    bool openURL(const std::string& url) override;
    void beep() override;

private:
    int terminalForSheet();

    const int input_;
    const int output_;
    const TerminalEnvironment environment_;
    NSWorkspace& browser_;
    // Declared in the order of their use: the mode goes first.
    FileDescriptor controllingTerminal_;
    std::unique_ptr<terminal::Clipboard> clipboard_;
    std::unique_ptr<terminal::Terminal> terminal_;
    std::unique_ptr<terminal::Mode> mode_;
    std::optional<std::string> unopened_;
};

}  // namespace tobrel
