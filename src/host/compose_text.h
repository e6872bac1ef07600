#pragma once

#include <memory>

#include "host/options.h"

namespace tobrel {
class FrontEnd;
class MainLoop;
class NSWorkspace;
}  // namespace tobrel

// What a program without windows hands to run().
namespace tobrel::host {

std::unique_ptr<MainLoop> makePollLoop();
std::unique_ptr<FrontEnd> makeTextFrontEnd(const Options& options, NSWorkspace& browser);
// For commands that open nothing.
std::unique_ptr<NSWorkspace> makeNoBrowser();

}  // namespace tobrel::host
