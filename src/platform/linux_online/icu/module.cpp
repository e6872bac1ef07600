#include "platform/linux_online/icu/text_icu.h"

extern "C" [[gnu::visibility("default")]] tobrel::TextModule& tobrelModule() {
    static tobrel::IcuTextServices module;
    return module;
}
