// Preloaded by tools/faults: every write() to a file takes half of what it is given, as a busy disk or a signal may.
#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/types.h>

extern "C" ssize_t write(int descriptor, const void* data, size_t size) {
    using Write = ssize_t (*)(int, const void*, size_t);
    static const auto real = reinterpret_cast<Write>(dlsym(RTLD_NEXT, "write"));
    struct stat status;
    bool isFile = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return real(descriptor, data, isFile && size > 1 ? size / 2 : size);
}
