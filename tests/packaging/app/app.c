/* An application's first contact with the installed library, and
 * velk_GetLastError as it meets it:
 *   app version          prints the library's version
 *   app start DEVICE     a start on DEVICE, which must be refused
 *   app busy DEVICE      a start on DEVICE while a link of another process
 *                        holds it, which must be refused
 *   app refused DEVICE   an image information read that the phone on DEVICE
 *                        refuses
 * Prints what velk_GetLastError says, "NUMBER TEXT" (an errno by its name),
 * and exits 1 when a call does not answer as documented. */
#define _POSIX_C_SOURCE 200809L
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>
#include <velkport.h>

static const struct {
    int number;
    const char* name;
} kErrnos[] = {{ENOENT, "ENOENT"}, {EBUSY, "EBUSY"}, {ENOTTY, "ENOTTY"}, {EACCES, "EACCES"}};

static int PrintCause(int isErrno) {
    const char* text = NULL;
    const int code = velk_GetLastError(&text);
    size_t i;
    if (text == NULL) return 1;
    for (i = 0; isErrno && i < sizeof kErrnos / sizeof kErrnos[0]; ++i) {
        if (kErrnos[i].number == code) return printf("%s %s\n", kErrnos[i].name, text) < 0;
    }
    return printf("%d %s\n", code, text) < 0;
}

/* What velk_BeginThread answers for a link on `device`, with its window
 * messages at *messages; -1 when the call could not be made. */
static int Begin(const char* device, int* messages) {
    int window[2];
    int32_t begun;
    if (pipe(window) != 0 || velk_SetPortDevice(1, device) != 1) return -1;
    begun = velk_BeginThread(window[1], 1, 115200, 0);
    close(window[1]);
    *messages = window[0];
    return begun;
}

/* A child process starts a link on `device` and holds it while this one
 * tries its own start. */
static int Busy(const char* device) {
    int ready[2], hold[2], messages, failed;
    char started = 0;
    pid_t child;
    if (pipe(ready) != 0 || pipe(hold) != 0 || (child = fork()) < 0) return 1;
    if (child == 0) {
        close(hold[1]);
        started = (char)Begin(device, &messages);
        if (write(ready[1], &started, 1) != 1) _exit(1);
        (void)!read(hold[0], &started, 1); /* until the parent lets go */
        velk_EndThread();
        _exit(0);
    }
    close(hold[0]);
    close(ready[1]);
    failed = read(ready[0], &started, 1) != 1 || started != 1;
    if (!failed) failed = Begin(device, &messages) != 0 || PrintCause(1);
    close(hold[1]);
    waitpid(child, NULL, 0);
    return failed;
}

static int Refused(const char* device) {
    VelkWindowMessage message;
    int messages, failed;
    if (Begin(device, &messages) != 1 || velk_ReadAnimInfo() != 1) return 1;
    do {
        if (read(messages, &message, sizeof message) != sizeof message) return 1;
    } while (message.message < VELK_MSG_MID_INFO_REFUSED ||
             message.message > VELK_MSG_ANIM_READ_REFUSED);
    failed = message.message != VELK_MSG_ANIM_INFO_REFUSED || PrintCause(0);
    velk_EndThread();
    return failed;
}

int main(int argc, char** argv) {
    int messages;
    if (velk_EndThread() != 1 || velk_ReadMidInfo() != 0) return 1; /* no link yet */
    if (argc == 2 && strcmp(argv[1], "version") == 0) return printf("%s\n", velk_GetVersion()) < 0;
    if (argc != 3) return 1;
    if (strcmp(argv[1], "start") == 0) return Begin(argv[2], &messages) != 0 || PrintCause(1);
    if (strcmp(argv[1], "busy") == 0) return Busy(argv[2]);
    if (strcmp(argv[1], "refused") == 0) return Refused(argv[2]);
    return 1;
}
