#include "updater/KvVcRun.h"

int main(int argc, char** argv) {
    return runVcPatch(argc, argv);
}
