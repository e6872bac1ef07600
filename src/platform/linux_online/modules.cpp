#include "platform/linux_online/modules.h"

#include <dlfcn.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace tobrel {

namespace {

// The programs lie in bin, or with the modules.
std::string folder() {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    path.resize(std::min(path.rfind('/'), path.size()));
    if (path.ends_with("/bin")) path.replace(path.size() - 3, 3, "libexec/tobrel");
    return path + "/";
}

// Its version is part of its name, as it fits no other program.
template <class Offer>
Offer& load(const std::string& name) {
    const std::string path = folder() + name + "-" TOBREL_VERSION ".so";
    void* module = dlopen(path.c_str(), RTLD_LAZY);
    void* offer = module ? dlsym(module, "tobrelModule") : nullptr;
    if (!offer) throw std::runtime_error(std::string("please install Tobrel again: ") + dlerror());
    return reinterpret_cast<Offer& (*)()>(offer)();
}

}  // namespace

SessionModule& sessionModule() {
    static SessionModule& module = load<SessionModule>("session");
    return module;
}

TextModule& textModule() {
    static TextModule& module = load<TextModule>("icu");
    return module;
}

}  // namespace tobrel
