#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>

namespace tobrel::platform {

namespace {

struct Parts {
    std::optional<Platform> platform;
    std::optional<Request> request;
    std::optional<Online> online;
    std::optional<Desktop> desktop;
};
std::optional<Parts> installed;

template <auto member>
const auto& part(const char* name) {
    if (installed && *installed.*member) return *(*installed.*member);
    std::fprintf(stderr, "tobrel: %s is used, but has not been installed\n", name);
    std::abort();
}

}  // namespace

Installation::Installation(const Platform& platform, std::optional<Request> request, std::optional<Online> online,
                           std::optional<Desktop> desktop) {
    installed.emplace(Parts{platform, request, online, desktop});
}

Installation::~Installation() {
    installed.reset();
}

const Platform& current() {
    return part<&Parts::platform>("platform::current()");
}

const Request& request() {
    return part<&Parts::request>("platform::request()");
}

const Online& online() {
    return part<&Parts::online>("platform::online()");
}

const Desktop& desktop() {
    return part<&Parts::desktop>("platform::desktop()");
}

}  // namespace tobrel::platform
