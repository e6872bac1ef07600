#pragma once

#include <memory>

namespace tobrel {
class FrontEnd;
class MainLoop;
class NSWorkspace;
}  // namespace tobrel

// What the program with windows hands to run(), and does when that has returned.
namespace tobrel::host {

struct Options;

std::unique_ptr<MainLoop> makeGlibLoop();
std::unique_ptr<FrontEnd> makeGtkFrontEnd(const Options& options, NSWorkspace& browser);

// Whether a copied address would be lost with this process.
bool clipboardNeedsProcess();
// Returns when something else has been copied.
void holdClipboard();

}  // namespace tobrel::host
