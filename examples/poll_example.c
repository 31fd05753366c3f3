/* Reads a phone's ring-tone information and one of its images, waiting for
 * the library's window messages with poll():
 *
 *   poll_example DEVICE [IMAGE]
 *
 * DEVICE is the phone's serial device (/dev/ttyACM0, or the /dev/pts/N that
 * velkport-phone prints), IMAGE the image to read, 1 by default. Exits 0
 * when both were read, 1 with a sentence when the phone or the device
 * failed, 2 on a wrong command line. Never waits more than 60 s for one
 * operation: the library itself ends the operation of a phone that stopped
 * answering with VELK_MSG_TIMED_OUT (after 30 s when it never answered),
 * so the limit only guards against a mistake.
 *
 * Build: cc poll_example.c $(pkg-config --cflags --libs velkport) */
#define _POSIX_C_SOURCE 200809L /* NOLINT(bugprone-reserved-identifier): POSIX's own */
#include <errno.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>
#include <velkport.h>

enum { kLimitMs = 60000 };

static long long NowMs(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (long long)now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

/* Waits for the message that ends the operation under way and returns its
 * number; 0 when none came within the limit or the window failed. The
 * progress messages of an image (1224, 1225) and notices (1226) come
 * before it and are passed over. */
static unsigned WaitForEnd(int window) {
    const long long deadline = NowMs() + kLimitMs;
    VelkWindowMessage m;
    for (;;) {
        struct pollfd p = {window, POLLIN, 0};
        const long long left = deadline - NowMs();
        const int ready = left > 0 ? poll(&p, 1, (int)left) : 0;
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0) return 0;
        /* Each message is written whole with one write(), so a readable
         * pipe holds at least one whole message. */
        if (read(window, &m, sizeof m) != (ssize_t)sizeof m) return 0;
        if (m.message >= VELK_MSG_MID_INFO_REFUSED && m.message <= VELK_MSG_COMMAND_REFUSED)
            return m.message;
    }
}

/* Waits for the end of the operation that `asked` says was taken, and says
 * why when it is not `want`: 1 for good, 0 after the sentence. */
/* NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the window, then the answer */
static int Ended(int window, int asked, unsigned want, const char* what) {
    const char* why = "";
    unsigned got;
    if (!asked) {
        fprintf(stderr, "poll_example: the library did not take the request for %s\n", what);
        return 0;
    }
    got = WaitForEnd(window);
    if (got == want) return 1;
    if (got == 0) {
        fprintf(stderr, "poll_example: nothing ended %s within %d s; giving up\n", what,
                kLimitMs / 1000);
        return 0;
    }
    velk_GetLastError(&why);
    fprintf(stderr, "poll_example: %s failed (window message %u): %s\n", what, got, why);
    return 0;
}

static int Run(int window, int image) {
    MidInfoRecord* tones;
    AnimInfoRecord* images;
    AnimRecord* record;

    if (!Ended(window, velk_ReadMidInfo(), VELK_MSG_MID_INFO_READ,
               "the ring-tone information read") ||
        !velk_GetMidInfo(&tones))
        return 1;
    printf("ring tones \"%.10s\": %u held, %u slots\n", tones->name, tones->infoNumber1,
           tones->infoNumber2);

    /* An image is read after a fresh image information read. */
    if (!Ended(window, velk_ReadAnimInfo(), VELK_MSG_ANIM_INFO_READ,
               "the image information read") ||
        !velk_GetAnimInfo(&images) || images == NULL)
        return 1;
    printf("images \"%s\": %u held, frames of %u x %u dots\n", images->name, images->infoNumber1,
           images->infoNumber4, images->infoNumber5);

    if (!Ended(window, velk_ReadAnim((uint8_t)image), VELK_MSG_ANIM_READ, "the image read") ||
        !velk_GetAnimData(&record) || record == NULL)
        return 1;
    printf("image %d \"%.*s\": %u frames of 1536 characters\n", image, (int)record->nameLength,
           record->name, record->size / 1536u);
    return 0;
}

int main(int argc, char** argv) {
    int window[2], image = argc > 2 ? atoi(argv[2]) : 1, failed;
    const char* why = "";
    if (argc < 2 || argc > 3 || image < 1 || image > 255) {
        fprintf(stderr, "usage: poll_example DEVICE [IMAGE]   (IMAGE from 1 to 255)\n");
        return 2;
    }
    if (pipe(window) != 0) {
        perror("poll_example: pipe");
        return 1;
    }
    velk_SetPortDevice(1, argv[1]);
    if (!velk_BeginThread(window[1], 1, 115200, 0)) { /* 115200 baud, RTS/CTS */
        velk_GetLastError(&why);
        fprintf(stderr, "poll_example: cannot open %s: %s\n", argv[1], why);
        return 1;
    }
    failed = Run(window[0], image);
    velk_EndThread();
    return failed;
}
