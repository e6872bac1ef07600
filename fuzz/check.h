#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process where what always holds does not.
inline void check(bool holds, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    if (holds) return;
    std::fprintf(stderr, "%s:%d: this does not hold\n", file, line);
    std::abort();
}
