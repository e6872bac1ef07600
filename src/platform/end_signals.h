#pragma once

#include <functional>

namespace tobrel {

// The signals that ask the program to end. While it lives they do not end the process by themselves. Main thread only.
class EndSignals {
public:
    // From now on each ends the process again.
    virtual ~EndSignals() = default;
    // The handler runs on the main loop at each of them; without one they wait.
    virtual void setHandler(std::function<void()> handler) = 0;
};

}  // namespace tobrel
