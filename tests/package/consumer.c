/* A program built against the installed library through pkg-config: one
 * keep-alive with the server named on the command line; prints the answer. */
#include <VORKCoreCommC/VORKCoreCommC.h>
#include <stdio.h>

int main(int argc, char **argv) {
    if (argc != 4) return 2;
    setZelUrl(argv[1]);
    setZelUsername(argv[2]);
    setZelPassword(argv[3]);
    printf("%s %s\n", VORKCoreCommCVersion(), keepAlive(0));
    return 0;
}
