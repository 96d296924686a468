/* Compiled as C99: the public header must need no C++ at all. */
#include <VORKCoreCommC/VORKCoreCommC.h>

#include <stdio.h>
#include <string.h>

int main(void) {
    VORKReleaseScopePush();
    const char *address = currentIpAddress();
    int ok = address != NULL && ipAddressInRange("10.0.0.5", "10.0.0.1", "10.0.0.10") == 1 &&
             !dmgHasMultiplePartitions(NULL) && volumeInfoType() == -1;
    VORKReleaseScopePop();
    if (!ok) {
        fprintf(stderr, "C caller saw a wrong result\n");
        return 1;
    }
    printf("1 passed, 0 failed\n");
    return 0;
}
