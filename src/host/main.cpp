#include <unistd.h>

#include <climits>
#include <string>

#include "host/run.h"

using namespace tobrel::host;

namespace {

// The program that has the online parts, beside this one in the installation. It takes this process over.
ExitStatus continueInOnlineProgram(char* words[]) {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    path = path.substr(0, path.rfind("/bin/")) + "/libexec/tobrel/tobrel-action-online";
    execv(path.c_str(), words);
    say("this installation is not complete: " + path + " cannot be started");
    return frontEndCannotRun;
}

}  // namespace

int main(int count, char* words[]) {
    prepareProcess();
    Options options = readCommandLine(count, words);
    return asksServer(options) ? continueInOnlineProgram(words) : run(options, nullptr);
}
