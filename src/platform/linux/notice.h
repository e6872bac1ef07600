#pragma once

#include <functional>
#include <string>

namespace tobrel {

// Whether it is said because the program waits, or because of something that went wrong.
enum class NoticeKind { waiting, trouble };

// Tells the person at the command line, and the log, what no caller is told: one sentence. Any thread.
using Notice = std::function<void(NoticeKind kind, const std::string& sentence)>;

}  // namespace tobrel
