#include "platform/log.h"

#include "platform/platform.h"

namespace tobrel::log_detail {

void write(const OSLog& log, OSLogType type, std::string_view format, const Value* values) {
    OSLogSink* sink = platform::current().log;
    if (!sink) return;
    std::string message;
    while (true) {
        std::size_t at = format.find('%');
        message += format.substr(0, at);
        if (at == format.npos) break;
        message += values->isNumber ? std::to_string(values->number) : std::string(values->text);
        format.remove_prefix(at + (values->isNumber ? 2 : std::string_view("%{public}@").size()));
        ++values;
    }
    sink->write(type, log.subsystem, log.category, message);
}

}  // namespace tobrel::log_detail
