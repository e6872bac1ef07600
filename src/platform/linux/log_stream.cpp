#include "platform/linux/log_stream.h"

#include <unistd.h>

#include "text/harmless_text.h"

namespace tobrel {

void StreamLog::write(OSLogType type, std::string_view subsystem, std::string_view category, std::string_view message) {
    std::string line = type == OSLogType::error ? "error " : "info ";
    line += harmless(subsystem) + ":" + harmless(category) + ": " + harmless(message) + "\n";
    // One call, so that lines of several threads or processes do not mix.
    [[maybe_unused]] auto written = ::write(descriptor_, line.data(), line.size());
}

}  // namespace tobrel
