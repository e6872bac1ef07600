#pragma once

#include <string>

namespace tobrel::gtk {

// Sets the environment up for a toolkit that starts fast and writes nothing to standard error. Before the first thread.
void prepareToolkit();
// Takes that out of the environment again, before another program inherits it.
void restoreEnvironment();

// Whether there is a display that answers.
bool hasDisplay();
// False where there is no display. May be called again.
bool startToolkit();
bool isStarted();

// What the desktop gave the program so that its window may come to the front; empty where it gave nothing.
const std::string& activationToken();

}  // namespace tobrel::gtk
