#include "api/client_header.h"

#include <variant>

#include "platform/platform.h"

namespace tobrel {

namespace {

const std::string* text(const InfoDictionary& dictionary, const char* key) {
    auto entry = dictionary.find(key);
    return entry == dictionary.end() ? nullptr : std::get_if<std::string>(&entry->second);
}

}  // namespace

const std::string& tobrelClientHeader() {
    static const std::string header = clientHeader(platform::online().infoDictionary);
    return header;
}

std::string clientHeader(const InfoDictionary& dictionary) {
    auto* version = text(dictionary, "CFBundleShortVersionString");
    auto* build = text(dictionary, "CFBundleVersion");
    auto* name = text(dictionary, "CFBundleExecutable");
    if (!name) name = text(dictionary, "CFBundleName");
    return "macos/" + (version ? *version : "0") + " (" + (build ? *build : "0") + "); " + (name ? *name : "Tobrel");
}

}  // namespace tobrel
