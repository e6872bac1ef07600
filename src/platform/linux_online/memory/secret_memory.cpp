#include "platform/linux_online/memory/secret_memory.h"

#include <malloc.h>
#include <string.h>
#include <sys/prctl.h>

#include <cstdlib>
#include <new>

namespace tobrel {

void guardMemory() {
    prctl(PR_SET_DUMPABLE, 0);
}

[[gnu::noinline]] void wipeStack() {
    char below[96 * 1024];
    explicit_bzero(below, sizeof below);
}

void wipingFree(void* memory) {
    if (memory) explicit_bzero(memory, malloc_usable_size(memory));
    std::free(memory);
}

// The former memory is left to nobody unwiped, which realloc would do where it moves.
void* wipingRealloc(void* memory, unsigned long size) {
    const std::size_t former = memory ? malloc_usable_size(memory) : 0;
    void* moved = std::malloc(size);
    if (!moved) return nullptr;
    if (memory) memcpy(moved, memory, former < size ? former : size);
    wipingFree(memory);
    return moved;
}

}  // namespace tobrel

void* operator new(std::size_t size) {
    while (true) {
        if (void* memory = std::malloc(size ? size : 1)) return memory;
        std::new_handler handler = std::get_new_handler();
        if (!handler) throw std::bad_alloc();
        handler();
    }
}

// Left to the library, a sanitizer would put its own in the place of this one alone.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept {
    tobrel::wipingFree(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    tobrel::wipingFree(memory);
}
