#include <unistd.h>

#include <climits>
#include <string>

#include "host/compose_text.h"
#include "host/factories.h"
#include "host/program.h"
#include "host/run.h"

using namespace tobrel::host;

namespace {

// The installation's other program, which takes this process over.
ExitStatus continueIn(const std::string& name, const char* orElse, char* words[]) {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    path = path.substr(0, path.rfind("/bin/")) + "/libexec/tobrel/" + name;
    execv(path.c_str(), words);
    say(access(path.c_str(), F_OK) == 0 ? path + " cannot be started; please install Tobrel again" : orElse);
    return frontEndCannotRun;
}

}  // namespace

int main(int count, char* words[]) {
    prepareProcess();
    Options options = readCommandLine(count, words);
    switch (programFor(options)) {
        case Program::gtk:
            return continueIn("tobrel-action-gtk", "the gtk front end is not installed; use --front-end terminal",
                              words);
        case Program::online:
            return continueIn("tobrel-action-online", "tobrel-action-online is missing; please install Tobrel again",
                              words);
        case Program::itself:
            break;
    }
    return run(options, {makePollLoop, makeNoBrowser, makeTextFrontEnd, nullptr});
}
