#pragma once

#include <functional>
#include <memory>

#include "file_managers/domain_roots.h"

namespace tobrel::menu {

// The domain roots as a file manager needs them: at once, on its own thread. A worker reads them at the start and after
// each change of the registry that look() meets; until it has, the former ones stand.
class RegisteredRoots {
public:
    // The handler is called on the main context's thread when the roots have become others.
    explicit RegisteredRoots(std::function<void()> changed);

    const DomainRoots& look();

private:
    struct State;
    static void read(const std::shared_ptr<State>& state);

    const std::shared_ptr<State> state_;
};

}  // namespace tobrel::menu
