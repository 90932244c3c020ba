/* A program that does nothing with the libraries of the daemon: what memory they take by
 * themselves. */
#include <unistd.h>

int main(void) {
    return pause();
}
