#pragma once

#include <string>
#include <vector>

namespace tobrel {
struct FileTrust;
class LinuxKeychain;
struct URLSessionAnswer;
}  // namespace tobrel

namespace tobrel::admin {

class Composition;
struct Invocation;
struct KeySource;

// What one check found; advice only where something needs, or in a warning might need, doing.
struct Finding {
    std::string check;
    std::string text;
    std::string advice;
    bool isWarning = false;
    bool isGood() const { return advice.empty() || isWarning; }
};

// Why a file is not used that others than the user could have written, and the way out.
struct Distrust {
    std::string what;
    std::string wayOut;
};
Distrust distrust(const FileTrust& trust);

Finding checkPrivateFolder();
Finding checkSettings(Composition& composition);
// Whether the server answers, and whether it accepts the key: asks for the top of the storage.
std::vector<Finding> checkServer(Composition& composition);
Finding checkKeychain(LinuxKeychain& keychain);
// The queue itself, and what has been set aside of it.
std::vector<Finding> checkPinQueue(Composition& composition);
std::vector<Finding> checkDomains(Composition& composition);
std::vector<Finding> checkFileManagers(const Invocation& invocation);

// What an answer to that question says.
std::vector<Finding> judge(const URLSessionAnswer& answer, const std::string& server, const KeySource& key);

}  // namespace tobrel::admin
