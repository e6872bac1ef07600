#pragma once

#include "platform/log.h"

namespace tobrel {

// Writes one line an entry to a descriptor, whatever a value holds.
class StreamLog : public OSLogSink {
public:
    explicit StreamLog(int descriptor) : descriptor_(descriptor) {}
    void write(OSLogType type, std::string_view subsystem, std::string_view category,
               std::string_view message) override;

private:
    const int descriptor_;
};

}  // namespace tobrel
