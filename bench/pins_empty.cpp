#include "own_memory.h"

int main() {
    tobrel::bench::printMemoryIfAsked();
}
