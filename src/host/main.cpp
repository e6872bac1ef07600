#include <unistd.h>

#include <climits>
#include <string>

#include "host/compose_text.h"
#include "host/factories.h"
#include "host/program.h"
#include "host/run.h"
#include "host/window_program.h"

using namespace tobrel::host;

namespace {

std::string besideThisProgram(const char* name) {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    return path.substr(0, path.rfind("/bin/")) + "/libexec/tobrel/" + name;
}

int cannotStart(const std::string& path, const char* orElse) {
    say(access(path.c_str(), F_OK) == 0 ? path + " cannot be started; please install Tobrel again" : orElse);
    return frontEndCannotRun;
}

}  // namespace

int main(int count, char* words[]) {
    prepareProcess();
    Options options = readCommandLine(count, words);
    switch (programFor(options)) {
        case Program::gtk: {
            std::string path = besideThisProgram("tobrel-action-gtk");
            if (auto status = runWindowProgram(path, words)) return *status;
            return cannotStart(path, "the gtk front end is not installed; use --front-end terminal");
        }
        case Program::online: {
            std::string path = besideThisProgram("tobrel-action-online");
            execv(path.c_str(), words);
            return cannotStart(path, "tobrel-action-online is missing; please install Tobrel again");
        }
        case Program::itself:
            break;
    }
    return run(options, {makePollLoop, makeNoBrowser, makeTextFrontEnd, nullptr});
}
