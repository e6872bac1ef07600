#pragma once

#include <optional>
#include <string>

#include "platform/desktop.h"
#include "platform/error.h"
#include "platform/view.h"

namespace tobrel {

class MainLoop;
class OSLogSink;

// One request's sheet, as its front end sees it. Main thread only.
class Sheet {
public:
    virtual ~Sheet() = default;
    virtual NSView& rootView() = 0;
    virtual CGSize preferredContentSize() const = 0;
    // Whether work of the request is outstanding: a question to the server or to the file provider that has not been
    // answered. While it is, the sheet may change by itself; else only by what the user does. Turns false behind all
    // that the answers have queued, and the main queue runs dry once more then.
    virtual bool isWorking() const = 0;
    // What closing the window means: the sheet's close button. Takes effect from the main queue.
    virtual void close() = 0;
};

// How one request's sheet is shown. Every call is made on the main thread.
class FrontEnd : public NSPasteboard, public NSWorkspace, public NSSound {
public:
    // Why it cannot run here, in a sentence, or nothing. Asked before anything else.
    virtual std::optional<std::string> obstacle() const = 0;
    // The view has been loaded and the action is about to be delivered. Both outlive the front end's use.
    virtual void attach(Sheet& sheet, MainLoop& loop) = 0;
    // The request is still open: the sheet comes on screen, and the user's input is taken from now on.
    virtual void appear() = 0;
    // The main queue has run dry; `changed` when the sheet is not as it was the last time.
    virtual void mainQueueRanDry(bool changed) = 0;
    // The request has ended, cancelled where there is an error; `changed` as above. No other call follows.
    virtual void requestEnded(const std::optional<NSError>& cancelled, bool changed) = 0;
    // After requestEnded: why what was asked for was not done, in a sentence, where this front end has to tell its
    // caller.
    virtual std::optional<std::string> shortfall() const = 0;
    // Where this front end takes log lines, or null where it shows none.
    virtual OSLogSink* logSink() = 0;
};

}  // namespace tobrel
