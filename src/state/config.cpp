#include "state/config.h"

#include <boost/json/parse.hpp>

#include "platform/files.h"
#include "platform/platform.h"
#include "state/keychain_store.h"
#include "state/paths.h"

namespace json = boost::json;

namespace tobrel::Config {

namespace {

constexpr std::size_t largestFile = std::size_t{1024} * 1024;
constexpr std::size_t deepestNesting = 512;

std::string textMember(const char* name) {
    auto content = readWhole(platform::current().files, Paths::in("config.json"), largestFile);
    if (!content) return {};
    if (content->starts_with("\xEF\xBB\xBF")) content->erase(0, 3);
    json::error_code error;
    json::parse_options options;
    options.max_depth = deepestNesting;
    json::value settings = json::parse(*content, error, {}, options);
    const json::object* object = error ? nullptr : settings.if_object();
    const json::value* member = object ? object->if_contains(name) : nullptr;
    const json::string* text = member ? member->if_string() : nullptr;
    return text ? std::string(*text) : std::string();
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
