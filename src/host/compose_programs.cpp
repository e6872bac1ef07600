#include "host/compose_programs.h"

#include <unistd.h>

#include <climits>
#include <string>

#include "host/compose_window.h"
#include "host/process.h"
#include "text/harmless_text.h"

namespace tobrel::host {

int continueIn(Program program, char* words[]) {
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self);
    std::string path(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    path = path.substr(0, path.rfind("/bin/")) + "/libexec/tobrel/tobrel-action-";
    path += program == Program::gtk ? "gtk" : "online";
    if (program != Program::gtk)
        execv(path.c_str(), words);
    else if (auto status = runWindowProgram(path, words))
        return *status;
    if (program == Program::gtk && access(path.c_str(), F_OK) != 0)
        say("the gtk front end is not installed; use --front-end terminal");
    else
        say(inQuotes(path) + " is missing or cannot be started; please install Tobrel again");
    return frontEndCannotRun;
}

}  // namespace tobrel::host
