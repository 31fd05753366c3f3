/*
 * velk-stop-and-wait DEVICE FILE: the barest client of a phone, the floor
 * that every other client is measured against. It writes each line of FILE
 * with CR LF, reads until the phone's final line (OK, ERROR, +CME ERROR:,
 * +CMS ERROR:) and goes on with the next, nothing else. It prints
 * "commands=N out=BYTES in=BYTES" when all were answered.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <termios.h>
#include <unistd.h>

enum { kMaxLine = 4096, kReplyTimeoutMs = 10000 };

static int IsFinal(const char* line, size_t length) {
    static const char* const kFinals[] = {"OK", "ERROR"};
    static const char* const kErrorHeads[] = {"+CME ERROR", "+CMS ERROR"};
    for (size_t i = 0; i < sizeof kFinals / sizeof kFinals[0]; ++i) {
        if (length == strlen(kFinals[i]) && memcmp(line, kFinals[i], length) == 0) return 1;
    }
    for (size_t i = 0; i < sizeof kErrorHeads / sizeof kErrorHeads[0]; ++i) {
        const size_t head = strlen(kErrorHeads[i]);
        if (length >= head && memcmp(line, kErrorHeads[i], head) == 0) return 1;
    }
    return 0;
}

/* Reads until a final line has come; 0 on success. Counts the bytes read. */
static int AwaitFinal(int fd, long* bytesIn) {
    static char pending[kMaxLine];
    size_t used = 0;
    for (;;) {
        struct pollfd entry = {fd, POLLIN, 0};
        if (poll(&entry, 1, kReplyTimeoutMs) <= 0) return -1;
        if (used == sizeof pending) used = 0; /* a line longer than any reply: drop it */
        const ssize_t count = read(fd, pending + used, sizeof pending - used);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return -1;
        *bytesIn += count;
        used += (size_t)count;
        size_t start = 0;
        for (size_t i = 0; i + 1 < used; ++i) {
            if (pending[i] != '\r' || pending[i + 1] != '\n') continue;
            if (IsFinal(pending + start, i - start)) return 0;
            start = i + 2;
        }
        memmove(pending, pending + start, used - start);
        used -= start;
    }
}

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: velk-stop-and-wait DEVICE FILE\n");
        return 2;
    }
    FILE* file = fopen(argv[2], "r");
    if (file == NULL) {
        perror(argv[2]);
        return 1;
    }
    /* All commands are read before the first goes out. */
    size_t count = 0, capacity = 0;
    char** lines = NULL;
    char buffer[kMaxLine];
    while (fgets(buffer, sizeof buffer - 2, file) != NULL) {
        buffer[strcspn(buffer, "\n")] = '\0';
        strcat(buffer, "\r\n");
        if (count == capacity) {
            capacity = capacity ? 2 * capacity : 256;
            lines = realloc(lines, capacity * sizeof *lines);
            if (lines == NULL) return 1;
        }
        lines[count++] = strdup(buffer);
    }
    fclose(file);

    const int fd = open(argv[1], O_RDWR | O_NOCTTY | O_CLOEXEC);
    struct termios settings;
    if (fd < 0 || tcgetattr(fd, &settings) != 0) {
        perror(argv[1]);
        return 1;
    }
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    tcsetattr(fd, TCSANOW, &settings);

    long bytesOut = 0, bytesIn = 0;
    for (size_t i = 0; i < count; ++i) {
        const size_t length = strlen(lines[i]);
        if (write(fd, lines[i], length) != (ssize_t)length || AwaitFinal(fd, &bytesIn) != 0) {
            fprintf(stderr, "velk-stop-and-wait: no reply to command %zu\n", i + 1);
            return 1;
        }
        bytesOut += (long)length;
    }
    printf("commands=%zu out=%ld in=%ld\n", count, bytesOut, bytesIn);
    close(fd);
    return 0;
}
