#include "src/voxo/daemon.h"

int main(int argc, char **argv) {
    return voxoRun(argc, argv);
}
