#include "own_memory.h"
#include "state/pin_file.h"
#include "support/local_platform.h"

// Appends one request to the queue under the given home folder.
int main(int, char* words[]) {
    tobrel::testing::LocalPlatform platform(words[1]);
    tobrel::PinFile::request({"4f1c2a90-new-item"}, true);
    tobrel::bench::printMemoryIfAsked();
}
