#include <cstdio>

#include "admin/compose.h"
#include "admin/key_source.h"
#include "admin/listing.h"
#include "admin/secret_input.h"
#include "admin/subcommand.h"
#include "platform/text.h"
#include "state/keychain_store.h"
#include "text/harmless_text.h"
#include "text/utf8.h"

namespace tobrel::admin {

namespace {

// Behind a sentence's beginning: what the keychain said, and the way out where one is known.
std::string reason(LinuxKeychain& keychain, OSStatus status) {
    if (status == errSecInteractionNotAllowed)
        return "the keyring is locked; unlock it, for example by logging in to the desktop, and try again.";
    if (status == errSecIO && findKeyItem(keychain).store == LinuxKeychain::Store::secretService)
        return "the Secret Service does not answer; try again after the next login to the desktop.";
    if (status == errSecNotAvailable) return "there is no Secret Service here; --store file keeps it in a file.";
    auto complaint = keychain.file().complaint();
    if (status == errSecAuthFailed && complaint) return complaint->what + " To mend that: " + complaint->wayOut;
    return KeychainStore::describe(status);
}

int setKey(const Invocation& invocation) {
    std::optional<LinuxKeychain::Store> store;
    if (invocation.store == "keychain")
        store = LinuxKeychain::Store::secretService;
    else if (invocation.store == "file")
        store = LinuxKeychain::Store::file;
    else if (!invocation.store.empty())
        return misused("--store takes keychain or file, not " + inQuotes(invocation.store));
    auto key = readSecret("API key: ");
    if (!key) return failed("No key can be read from standard input.");
    if (key->empty()) return failed("An empty key is of no use; none was stored.");
    if (!isUtf8(*key)) return failed("The key is not UTF-8 text; none was stored.");
    if (!isUtf8(invocation.account) || invocation.account.find('\0') != invocation.account.npos)
        return failed("The account's name is not UTF-8 text; no key was stored.");
    Composition composition(invocation);
    LinuxKeychain::Replacing replacing(composition.keychain(), store);
    OSStatus status = KeychainStore::saveKey(*key, invocation.account);
    if (status == errSecSuccess) return 0;
    return failed("The key was not stored: " + reason(composition.keychain(), status));
}

int deleteKey(const Invocation& invocation) {
    Composition composition(invocation);
    KeychainStore::deleteKey();
    OSStatus status = findKeyItem(composition.keychain()).status;
    if (status == errSecItemNotFound) {
        if (composition.keychain().service() == LinuxKeychain::Service::unreachable)
            std::fputs("tobrel-admin: no Secret Service can be reached; a key that it keeps is not deleted.\n", stderr);
        return 0;
    }
    if (status == errSecSuccess) return failed("The key could not be deleted; try again.");
    return failed("The key was not deleted: " + reason(composition.keychain(), status));
}

const char* word(KeySource::Place place) {
    switch (place) {
        case KeySource::Place::secretService:
            return "secret service";
        case KeySource::Place::keychainFile:
            return "keychain file";
        case KeySource::Place::configFile:
            return "config.json";
        case KeySource::Place::none:
            break;
    }
    return "none";
}

int showStatus(const Invocation& invocation) {
    Composition composition(invocation);
    KeySource source = findKey(composition.keychain());
    std::size_t length = composition.text().characters(source.key).size();
    if (invocation.json)
        std::printf("{\"usable\":%s,\"length\":%zu,\"source\":%s}\n", source.key.empty() ? "false" : "true", length,
                    jsonString(word(source.place)).c_str());
    else if (source.key.empty())
        std::puts("no usable key; set one with: tobrel-admin key set");
    else
        std::printf("a usable key, length %zu, from %s\n", length, harmless(source.where).c_str());
    return source.key.empty() ? 1 : 0;
}

}  // namespace

int runKey(const Invocation& invocation) {
    const auto& words = invocation.words;
    if (!invocation.account.empty() && !words.empty() && words[0] != "set")
        return misused("only key set takes --account");
    if (!invocation.store.empty() && !words.empty() && words[0] != "set") return misused("only key set takes --store");
    return runVerb("key", invocation,
                   {{"set", {}, false, [&] { return setKey(invocation); }},
                    {"delete", {}, false, [&] { return deleteKey(invocation); }},
                    {"status", {}, true, [&] { return showStatus(invocation); }}});
}

}  // namespace tobrel::admin
