#pragma once

#include <string>
#include <vector>

// The files in which the sync side of the product finds what is to stay downloaded. Every failure is silent.
namespace tobrel::PinFile {

// Appends one request per identifier to the queue, in the order given.
void request(const std::vector<std::string>& identifiers, bool pinned);

// Adds the identifiers to the pinned set or removes them from it, and adds them to the changed set.
void update(const std::vector<std::string>& identifiers, bool pinned);

}  // namespace tobrel::PinFile
