#pragma once

#include <cstddef>
#include <string_view>

namespace tobrel {

class FileReader;

// Is told of the entries of a queue, oldest first, as compact JSON text in which every token is as it was written.
class QueueVisitor {
public:
    virtual ~QueueVisitor() = default;
    // An entry or, where it is long, a part of one; valid until the call returns.
    enum class Part { inner, last };
    virtual void entryPart(std::string_view text, Part part) = 0;
    // Entries that hold neither arrays nor objects, with a comma between each two, for whoever need not tell them
    // apart.
    virtual void simpleEntries(std::string_view text);
};

// Passes over a queue in memory of one size. False where the file cannot be read to its end or is no array of objects:
// what the visitor has been told of it is worth nothing then.
bool readQueue(FileReader& file, QueueVisitor& visitor);

// No part of an entry is longer.
inline constexpr std::size_t queuePieceSize = std::size_t{64} * 1024;

}  // namespace tobrel
