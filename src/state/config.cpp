#include "state/config.h"

#include "platform/files.h"
#include "platform/platform.h"
#include "state/keychain_store.h"
#include "state/paths.h"
#include "text/json.h"

namespace tobrel::Config {

namespace {

std::string textMember(const char* name) {
    Files& files = platform::current().files;
    const std::string path = Paths::in("config.json");
    // The key goes where this file says, so nobody else may have a hand in it.
    if (!files.trust(path).isTheUsers()) return {};
    auto content = readWhole(files, path, largestSettings);
    if (!content) return {};
    auto settings = json::parseObject(*content);
    return settings ? json::string(*settings, name).value_or("") : "";
}

}  // namespace

std::string server() {
    std::string address = textMember("server");
    while (address.ends_with('/')) address.pop_back();
    return address;
}

std::string apiKey() {
    if (auto key = KeychainStore::readKey()) return *key;
    return textMember("api_key");
}

}  // namespace tobrel::Config
