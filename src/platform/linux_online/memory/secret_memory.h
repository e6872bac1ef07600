#pragma once

namespace tobrel {

// For a program that holds the user's key. Where this is linked, whatever the language's allocator frees is wiped, so
// that no copy of a secret outlives its use; the C library's own memory is its users' business. The call keeps other
// processes of the user, and core files, from the process's memory. Once, at the beginning.
void guardMemory();

// Wipes what functions that have returned left on this thread's stack, as far down as they usually reach.
void wipeStack();

// As malloc and the like, for libraries that take an allocator; what they free is wiped.
void* wipingRealloc(void* memory, unsigned long size);
void wipingFree(void* memory);

}  // namespace tobrel
