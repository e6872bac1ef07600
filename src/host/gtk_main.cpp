#include <clocale>

#include "host/compose_gtk.h"
#include "host/compose_online.h"
#include "host/compose_window.h"
#include "host/factories.h"
#include "host/give_memory_back.h"
#include "host/run.h"

using namespace tobrel::host;

int main(int count, char* words[]) {
    WindowProcess process;
    prepareProcess();
    std::setlocale(LC_ALL, "");
    int status = run(readCommandLine(count, words), {makeGlibLoop, makeBrowser, makeGtkFrontEnd, makeOnlineParts});
    if (!clipboardNeedsProcess()) return status;
    process.leaveCaller(status);
    giveMemoryBack();
    holdClipboard();
    return status;
}
