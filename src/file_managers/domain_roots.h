#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tobrel::menu {

// The root folders of the registered domains: all that the menu needs to know of them.
class DomainRoots {
public:
    DomainRoots() = default;
    // Roots are real paths. One below the real home folder is also known by way of the home folder's own name, which
    // may be a symbolic link.
    DomainRoots(std::vector<std::string> roots, const std::string& home, const std::string& realHome);

    // Whether an absolute path, as a file manager has it, is a domain's root or lies below it. Looks at the text alone.
    bool contain(std::string_view path) const;

    bool operator==(const DomainRoots&) const = default;

private:
    std::vector<std::string> roots_;
};

// What tells whether the registry may have changed: looks at its files' state, not into them.
std::string registryStamp();

// From the registry; none where it cannot be read. Waits for the disk: for a worker thread.
DomainRoots readDomainRoots();

}  // namespace tobrel::menu
