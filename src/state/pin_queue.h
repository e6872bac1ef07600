#pragma once

#include <string>
#include <vector>

#include "state/queue_reader.h"

namespace tobrel {

class Files;

// The queue of pin requests, one file that any number of processes change at once. All take the lock of its folder, but
// nothing is lost to one that does not: what turns out to have been replaced meanwhile is read again, or brought in.
namespace PinQueue {

// Appends one request per identifier, in the order given. What was no queue is set aside.
void append(Files& files, const std::string& path, const std::vector<std::string>& identifiers, bool pinned);

enum class Taken { done, noQueue, notWritten, notRemoved };
// Shows the visitor every entry and then takes them out, unless the visitor could not write them.
class Taker : public QueueVisitor {
public:
    // Whether all entries are where they will outlast a crash.
    virtual bool finish() = 0;
};
Taken take(Files& files, const std::string& path, Taker& taker);

}  // namespace PinQueue
}  // namespace tobrel
