#pragma once

#include "host/run.h"

namespace tobrel::host {

std::unique_ptr<OnlineParts> makeOnlineParts(const Options& options, UserDatabase& users);

}  // namespace tobrel::host
