#pragma once

#include <string>
#include <vector>

namespace tobrel {

class FileReader;
class FileReplacement;

// Fills the replacement with the old queue, compact, and with one request per identifier behind it; with the new
// requests alone where the old queue is null, cannot be read to its end or is no array of objects. Needs the same
// little memory for a queue of any size. False when the replacement could not be written.
bool appendRequests(FileReader* old, FileReplacement& replacement, const std::vector<std::string>& identifiers,
                    bool pinned);

}  // namespace tobrel
