#pragma once

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tobrel::bench {

// Prints this process's peak of resident memory in KiB, where the environment asks for it. What a parent sees of its
// child would count the parent's own.
inline void printMemoryIfAsked() {
    if (!std::getenv("TOBREL_BENCH_MEMORY")) return;
    char line[256];
    std::FILE* status = std::fopen("/proc/self/status", "r");
    while (status && std::fgets(line, sizeof line, status))
        if (std::strncmp(line, "VmHWM:", 6) == 0) std::printf("%d\n", std::atoi(line + 6));
}

}  // namespace tobrel::bench
