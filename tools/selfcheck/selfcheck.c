/* Checks the shared library through its public C interface: the calls that
 * need no phone answer as documented, and a link to a missing device is
 * refused cleanly. Exit status 0 when every check holds. */
#include <stdio.h>
#include <unistd.h>

#include "velkport.h"

static int failures = 0;

static void check(int ok, const char* what) {
    printf("%s %s\n", ok ? "ok  " : "FAIL", what);
    if (!ok) ++failures;
}

int main(void) {
    int window[2];
    MidInfoRecord* info = NULL;
    if (pipe(window) != 0) return 1;
    check(velk_EndThread() == 1, "ending without a link answers 1");
    check(velk_ReadMidInfo() == 0, "a request without a link is refused");
    check(velk_GetMidInfo(&info) == 0 && info == NULL, "nothing to fetch without a link");
    check(velk_CancelCurrentAction() == 0, "nothing to cancel without a link");
    check(velk_SetPortDevice(0, "/dev/null") == 0, "port 0 takes no device");
    check(velk_SetPortDevice(9, "/nonexistent/velkport-device") == 1, "a port maps to a path");
    check(velk_BeginThread(window[1], 9, 115200, 0) == 0, "a missing device is refused");
    check(velk_SetPortDevice(9, NULL) == 1, "the default device comes back");
    close(window[0]);
    close(window[1]);
    printf("%s\n", failures == 0 ? "self-check passed" : "self-check FAILED");
    return failures == 0 ? 0 : 1;
}
