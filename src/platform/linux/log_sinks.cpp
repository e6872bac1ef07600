#include "platform/linux/log_sinks.h"

#include <dlfcn.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "text/harmless_text.h"

namespace tobrel {

namespace {

using SendVector = int (*)(const iovec* fields, int count);

class JournaldLog : public OSLogSink {
public:
    explicit JournaldLog(SendVector send) : send_(send) {}

    void write(OSLogType type, std::string_view subsystem, std::string_view category,
               std::string_view message) override {
        std::string fields[] = {
            "MESSAGE=" + harmless(message),
            "PRIORITY=" + std::to_string(type == OSLogType::error ? LOG_ERR : LOG_INFO),
            "SUBSYSTEM=" + std::string(subsystem),
            "CATEGORY=" + std::string(category),
            "SYSLOG_IDENTIFIER=tobrel-action",
        };
        iovec vector[std::size(fields)];
        for (std::size_t i = 0; i < std::size(fields); ++i) vector[i] = {fields[i].data(), fields[i].size()};
        send_(vector, static_cast<int>(std::size(fields)));
    }

private:
    const SendVector send_;
};

}  // namespace

std::unique_ptr<OSLogSink> makeJournaldLog() {
    if (access("/run/systemd/journal/socket", W_OK) != 0) return nullptr;
    void* library = dlopen("libsystemd.so.0", RTLD_NOW);
    if (!library) return nullptr;
    auto send = reinterpret_cast<SendVector>(dlsym(library, "sd_journal_sendv"));
    return send ? std::make_unique<JournaldLog>(send) : nullptr;
}

StreamLog::~StreamLog() {
    if (lost_ == 0) return;
    std::string line = std::to_string(lost_) + " lines of the log could not be written\n";
    [[maybe_unused]] auto written = ::write(descriptor_, line.data(), line.size());
}

void StreamLog::write(OSLogType type, std::string_view subsystem, std::string_view category, std::string_view message) {
    std::string line = type == OSLogType::error ? "error " : "info ";
    line += harmless(subsystem) + ":" + harmless(category) + ": " + harmless(message) + "\n";
    // One call, so that lines of several threads or processes do not mix.
    if (::write(descriptor_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) ++lost_;
}

}  // namespace tobrel
