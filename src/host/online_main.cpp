#include <clocale>

#include "host/compose_online.h"
#include "host/compose_text.h"
#include "host/factories.h"
#include "host/run.h"

using namespace tobrel::host;

int main(int count, char* words[]) {
    prepareProcess();
    // Only a sheet needs the locale, for the width of its text; reading it takes a pin command's time.
    std::setlocale(LC_ALL, "");
    return run(readCommandLine(count, words), {makePollLoop, makeBrowser, makeTextFrontEnd, makeOnlineParts});
}
