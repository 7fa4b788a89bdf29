#include "corra/CommandLine.h"

int main(int argc, char** argv) {
    return corra::runCommandLine(argc, argv);
}
