#pragma once

#include <functional>
#include <string>

namespace tobrel::menu {

// Shows it through the desktop's notification service, if there is one, without waiting; `ended` is called on the main
// context's thread when it is known how that went. The text may be any bytes.
void notify(std::string title, std::string text, std::function<void()> ended);

}  // namespace tobrel::menu
