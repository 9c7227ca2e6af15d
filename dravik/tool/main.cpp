#include <signal.h>

#include "dravik/tool/CommandLine.h"

int main(int argc, char** argv) {
    signal(SIGXFSZ, SIG_IGN);  // a file at its size limit is a write that fails, not the end of the program
    return dravik::RunDravik(argc, argv);
}
