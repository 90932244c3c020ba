// A tuning library that tells its calls on standard output.
#include <unistd.h>

#include <cstdio>

extern "C" [[gnu::visibility("default")]] int HI_AQT_Init(unsigned argument) {
    return dprintf(STDOUT_FILENO, "tuning begins %u\n", argument);
}

extern "C" [[gnu::visibility("default")]] int HI_AQT_Dinit(unsigned argument) {
    return dprintf(STDOUT_FILENO, "tuning ends %u\n", argument);
}
