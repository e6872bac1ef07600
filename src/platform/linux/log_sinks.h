#pragma once

#include <atomic>
#include <memory>

#include "platform/log.h"

namespace tobrel {

// The system journal, an entry a harmless line, with the fields SUBSYSTEM and CATEGORY and the priority by level; null
// where there is none. Its library is loaded here, because loading it costs a command that logs nowhere more than the
// rest of its start.
std::unique_ptr<OSLogSink> makeJournaldLog();

// Writes one line an entry to a descriptor, whatever a value holds, and never waits where the descriptor does not
// block: how many lines were lost is said at the end.
class StreamLog : public OSLogSink {
public:
    explicit StreamLog(int descriptor) : descriptor_(descriptor) {}
    ~StreamLog() override;
    void write(OSLogType type, std::string_view subsystem, std::string_view category,
               std::string_view message) override;

private:
    const int descriptor_;
    std::atomic<unsigned> lost_ = 0;
};

}  // namespace tobrel
