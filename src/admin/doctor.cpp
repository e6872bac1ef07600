#include <cstdio>

#include "admin/checks.h"
#include "admin/compose.h"
#include "admin/listing.h"
#include "admin/subcommand.h"
#include "text/harmless_text.h"

namespace tobrel::admin {

namespace {

void print(const Finding& finding, bool asJson) {
    std::string line;
    if (asJson) {
        line = R"({"check":)" + jsonString(finding.check) + R"(,"ok":)" + (finding.isGood() ? "true" : "false") +
               R"(,"text":)" + jsonString(finding.text) + R"(,"advice":)" + jsonString(finding.advice) + "}";
    } else {
        line = (!finding.isGood() ? "✗ " : finding.isWarning ? "! " : "✓ ") + finding.check + ": " + finding.text;
        if (!finding.advice.empty()) line += " → " + finding.advice;
        line = harmless(line);
    }
    std::puts(line.c_str());
    std::fflush(stdout);
}

}  // namespace

int runDoctor(const Invocation& invocation) {
    if (!invocation.words.empty()) return misused("the usage is: tobrel-admin doctor");
    Composition composition(invocation);
    bool allGood = true;
    auto tell = [&](const std::vector<Finding>& findings) {
        for (const Finding& finding : findings) {
            print(finding, invocation.json);
            allGood = allGood && finding.isGood();
        }
    };
    tell({checkPrivateFolder()});
    tell(checkPinQueue(composition));
    tell({checkSettings(composition)});
    tell({checkKeychain(composition.keychain())});
    tell(checkServer(composition));
    tell(checkDomains(composition));
    tell(checkFileManagers(invocation));
    return allGood ? 0 : 1;
}

}  // namespace tobrel::admin
