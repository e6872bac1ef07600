#pragma once

#include <memory>

#include "host/options.h"

namespace tobrel {
class NSWorkspace;
class OnlineParts;
class UserDatabase;
}  // namespace tobrel

// What a program that asks the server hands to run().
namespace tobrel::host {

std::unique_ptr<OnlineParts> makeOnlineParts(const Options& options, UserDatabase& users);
std::unique_ptr<NSWorkspace> makeBrowser();

}  // namespace tobrel::host
