#include "host/compose_programs.h"
#include "host/compose_text.h"
#include "host/factories.h"
#include "host/run.h"

using namespace tobrel::host;

int main(int count, char* words[]) {
    prepareProcess();
    Options options = readCommandLine(count, words);
    Program program = programFor(options);
    if (program != Program::itself) return continueIn(program, words);
    return run(options, {makePollLoop, makeNoBrowser, makeTextFrontEnd, nullptr});
}
