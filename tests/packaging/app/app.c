/* An application's first contact with the installed library. */
#include <stdio.h>
#include <velkport.h>

int main(void) {
    if (velk_EndThread() != 1 || velk_ReadMidInfo() != 0) {
        puts("the installed library does not answer as documented");
        return 1;
    }
    return 0;
}
