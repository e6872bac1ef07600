#include "host/online_parts.h"
#include "host/run.h"

using namespace tobrel::host;

int main(int count, char* words[]) {
    prepareProcess();
    return run(readCommandLine(count, words), makeOnlineParts);
}
