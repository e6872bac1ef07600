#include "host/give_memory_back.h"

#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

namespace tobrel::host {

namespace {

struct Mapping {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool isReadFromFile = false;
    // Kilobytes that differ from the file.
    unsigned long own = 0;
};

void drop(const Mapping& mapping) {
    if (mapping.isReadFromFile && mapping.own == 0)
        madvise(reinterpret_cast<void*>(mapping.begin), mapping.end - mapping.begin, MADV_DONTNEED);
}

}  // namespace

void giveMemoryBack() {
    malloc_trim(0);
    std::ifstream lines("/proc/self/smaps");
    Mapping mapping;
    for (std::string line; std::getline(lines, line);) {
        Mapping next;
        char rights[5] = "";
        unsigned long kilobytes = 0;
        if (std::sscanf(line.c_str(), "%jx-%jx %4s", &next.begin, &next.end, rights) == 3) {
            drop(mapping);
            mapping = next;
            bool isWritable = std::string_view(rights).find('w') != std::string_view::npos;
            mapping.isReadFromFile = !isWritable && line.find(" /") != line.npos;
        } else if (std::sscanf(line.c_str(), "Anonymous: %lu", &kilobytes) == 1 ||
                   std::sscanf(line.c_str(), "Swap: %lu", &kilobytes) == 1) {
            mapping.own += kilobytes;
        }
    }
    drop(mapping);
}

}  // namespace tobrel::host
