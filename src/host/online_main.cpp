#include <clocale>

#include "host/compose_online.h"
#include "host/compose_text.h"
#include "host/factories.h"
#include "host/run.h"

using namespace tobrel::host;

int main(int count, char* words[]) {
    prepareProcess();
    // Reading the locale takes as long as a whole pin command; only a sheet needs it, for the width of its text.
    std::setlocale(LC_ALL, "");
    return run(readCommandLine(count, words), {makePollLoop, makeBrowser, makeTextFrontEnd, makeOnlineParts});
}
