#include <chrono>
#include <future>
#include <memory>

#include "admin/checks.h"
#include "admin/compose.h"
#include "admin/key_source.h"
#include "api/api.h"
#include "platform/http.h"
#include "platform/text.h"
#include "state/config.h"
#include "state/keychain_store.h"
#include "text/harmless_text.h"
#include "text/json.h"

namespace tobrel::admin {

namespace {

constexpr const char* server = "server";
constexpr const char* key = "key";
constexpr const char* setKey = "set it with: tobrel-admin key set";
constexpr const char* setServer = "set the address with: tobrel-admin server URL";

Finding notTried(const KeySource& source) {
    if (source.key.empty()) return {key, "there is none", setKey};
    return {key, "not tried, because the server gave no answer to it; it comes from " + source.where,
            "mend that first"};
}

// However slowly it comes in.
constexpr std::chrono::seconds longestAnswer(15);

}  // namespace

std::vector<Finding> judge(const URLSessionAnswer& answer, const std::string& address, const KeySource& source) {
    const std::string name = inQuotes(address);
    if (answer.error)
        return {{server, answer.error->localizedDescription(), "or set another address: tobrel-admin server URL"},
                notTried(source)};
    const int status = answer.statusCode.value_or(0);
    constexpr std::string_view members[] = {"error"};
    auto object = json::parseMembers(answer.data.value_or(""), members);
    auto said = object ? json::string(*object, "error") : std::nullopt;
    const std::string outcome = "HTTP " + std::to_string(status) + (said ? ", " + inQuotes(*said) : "");
    const Finding answers{server, name + " answers", ""};

    if (status == 200 && object) return {answers, {key, "accepted; it comes from " + source.where, ""}};
    if (status == 401 || status == 403) {
        if (source.key.empty()) return {answers, {key, "there is none", setKey}};
        return {answers,
                {key, "refused (" + outcome + "); it comes from " + source.where,
                 "set the right one with: tobrel-admin key set"}};
    }
    if (status == 200 || (status >= 300 && status < 500 && !object))
        return {{server, name + " answers, but not as a Tobrel server (" + outcome + ")", setServer}, notTried(source)};
    return {
        {server, name + " answers with a failure (" + outcome + ")", "try again later, or tell who runs the server"},
        notTried(source)};
}

std::vector<Finding> checkServer(Composition& composition) {
    const std::string address = Config::server();
    const KeySource source = findKey(composition.keychain());
    if (address.empty()) return {{server, "no address is set", setServer}, notTried(source)};
    auto request = API::request("/tobrel/api/item?id=root", "GET");
    if (!request) return {{server, inQuotes(address) + " is not a web address", setServer}, notTried(source)};
    // Whoever looks for a fault waits less patiently.
    request->timeoutInterval = 10;
    // Shared with the answer, which may come when nobody waits any more.
    auto answered = std::make_shared<std::promise<URLSessionAnswer>>();
    composition.urlSession().dataTask(*request,
                                      [answered](URLSessionAnswer answer) { answered->set_value(std::move(answer)); });
    auto answer = answered->get_future();
    if (answer.wait_for(longestAnswer) == std::future_status::ready) return judge(answer.get(), address, source);
    return {{server, inQuotes(address) + " has not answered in full within 15 s",
             "try again later, or tell who runs the server"},
            notTried(source)};
}

Finding checkKeychain(LinuxKeychain& keychain) {
    constexpr const char* check = "keychain";
    const auto found = findKeyItem(keychain);
    const std::string name = describe(keychain, found.store);
    if (found.status == errSecInteractionNotAllowed)
        return {check, "the keyring is locked", "unlock it, for example by logging in to the desktop"};
    if (auto complaint = keychain.file().complaint()) return {check, complaint->what, complaint->wayOut};
    if (found.status == errSecItemNotFound) return {check, name + " is ready; it holds no key", ""};
    if (found.status == errSecIO) return {check, name + " does not answer", "log in to the desktop anew"};
    if (found.status != errSecSuccess)
        return {check, name + " fails: " + KeychainStore::describe(found.status), setKey};
    if (!KeychainStore::readKey()) return {check, name + " holds an unusable key", setKey};
    return {check, name + " holds a key", ""};
}

}  // namespace tobrel::admin
