#include "platform/platform.h"

namespace tobrel::platform {

namespace {

const Platform* installed = nullptr;
const Online* installedOnline = nullptr;

}  // namespace

const Platform& current() {
    return *installed;
}

const Online& online() {
    return *installedOnline;
}

void install(const Platform* platform, const Online* online) {
    installed = platform;
    installedOnline = online;
}

}  // namespace tobrel::platform
