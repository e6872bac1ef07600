#pragma once

#include <memory>

#include "platform/log.h"

namespace tobrel {

// The system journal, an entry a harmless line, with the fields SUBSYSTEM and CATEGORY and the priority by level; null
// where there is none. Its library is loaded here, because loading it costs a command that logs nowhere more than the
// rest of its start.
std::unique_ptr<OSLogSink> makeJournaldLog();

}  // namespace tobrel
