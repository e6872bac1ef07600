#include <cinttypes>
#include <cstdio>

#include "admin/listing.h"
#include "admin/subcommand.h"
#include "platform/linux/file_provider/registry.h"
#include "platform/linux/user_database_posix.h"

namespace tobrel::admin {

namespace {

int exitStatus(const Outcome<Done>& outcome) {
    return outcome ? 0 : failed(outcome.failure().sentence);
}

int list(FileProviderRegistry& registry, bool json) {
    auto snapshot = registry.read();
    if (!snapshot) return failed(snapshot.failure().sentence);
    for (const RegisteredDomain& domain : (*snapshot)->domains()) {
        auto items = (*snapshot)->countItems(domain);
        if (!items) return failed(items.failure().sentence);
        if (json)
            std::printf("{\"id\":%s,\"root\":%s,\"items\":%" PRId64 ",\"signals\":%" PRId64 "}\n",
                        jsonString(domain.identifier).c_str(), jsonString(domain.root).c_str(), *items, domain.signals);
        else
            std::printf("%s\t%s\titems: %" PRId64 "\tsignals: %" PRId64 "\n", plainField(domain.identifier).c_str(),
                        plainField(domain.root).c_str(), *items, domain.signals);
    }
    return 0;
}

}  // namespace

int runDomain(const Invocation& invocation) {
    PosixUserDatabase users(invocation.home);
    FileProviderRegistry registry(dataFolder(users));
    const auto& words = invocation.words;
    return runVerb("domain", invocation,
                   {{"add", {"ID", "DIR"}, false, [&] { return exitStatus(registry.addDomain(words[1], words[2])); }},
                    {"remove", {"ID"}, false, [&] { return exitStatus(registry.removeDomain(words[1])); }},
                    {"list", {}, true, [&] { return list(registry, invocation.json); }}});
}

}  // namespace tobrel::admin
