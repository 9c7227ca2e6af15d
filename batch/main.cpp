#include "batch/BatchOptions.h"
#include "batch/BatchWork.h"

int main(int argc, char** argv) {
    const vorela::ParsedCommandLine parsed = vorela::ParseCommandLine(argc, argv);
    return parsed.options ? vorela::RunBatch(*parsed.options) : parsed.exitStatus;
}
