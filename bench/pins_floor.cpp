#include "durable_copy.h"

// The home folder's queue, read, written and put into place, and nothing else.
int main(int, char* words[]) {
    tobrel::bench::replaceQueue(words[1]);
}
