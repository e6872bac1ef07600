#pragma once

#include "platform/log.h"

namespace tobrel {

// The extension's one log object, made on first use. Any thread.
const OSLog& uilog();

}  // namespace tobrel
