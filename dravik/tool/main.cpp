#include "dravik/tool/CommandLine.h"

int main(int argc, char** argv) {
    return vorela::RunDravik(argc, argv);
}
