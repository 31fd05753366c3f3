/* Reads a phone's ring-tone information and one of its images from a GLib
 * main loop, which watches the library's window with g_unix_fd_add:
 *
 *   glib_example DEVICE [IMAGE]
 *
 * Each window message that ends an operation starts the next one, so the
 * loop stays free for the rest of an application in between. Exits 0 when
 * both were read, 1 with a sentence when the phone or the device failed, 2
 * on a wrong command line; gives up after 60 s without the next step.
 *
 * Build: cc glib_example.c $(pkg-config --cflags --libs velkport glib-2.0) */
#include <glib-unix.h>
#include <glib.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <velkport.h>

enum { kLimitSeconds = 60 };

/* The operations in the order they run; the image is read after a fresh
 * image information read. */
typedef enum { kToneInfo, kImageInfo, kImage, kDone } Step;

typedef struct {
    GMainLoop* loop;
    Step step;
    int image;
    int failed;
    guint limit; /* the time-out source of the step under way */
} Reader;

static const char* const kStepNames[] = {"the ring-tone information read",
                                         "the image information read", "the image read"};

static gboolean TimeLimit(gpointer data) {
    Reader* reader = data;
    fprintf(stderr, "glib_example: nothing ended %s within %d s; giving up\n",
            kStepNames[reader->step], kLimitSeconds);
    reader->limit = 0;
    reader->failed = 1;
    g_main_loop_quit(reader->loop);
    return G_SOURCE_REMOVE;
}

/* Asks for the operation of reader->step and arms its time limit; 0 after
 * a sentence when the library does not take it. */
static int Ask(Reader* reader) {
    const int asked = reader->step == kToneInfo    ? velk_ReadMidInfo()
                      : reader->step == kImageInfo ? velk_ReadAnimInfo()
                                                   : velk_ReadAnim((uint8_t)reader->image);
    if (!asked) {
        fprintf(stderr, "glib_example: the library did not take the request for %s\n",
                kStepNames[reader->step]);
        return 0;
    }
    reader->limit = g_timeout_add_seconds(kLimitSeconds, TimeLimit, reader);
    return 1;
}

/* Prints what the operation that ended with `message` brought; 0 after a
 * sentence when it failed. */
static int Report(const Reader* reader, unsigned message) {
    static const unsigned kWanted[] = {VELK_MSG_MID_INFO_READ, VELK_MSG_ANIM_INFO_READ,
                                       VELK_MSG_ANIM_READ};
    MidInfoRecord* tones;
    AnimInfoRecord* images;
    AnimRecord* record;
    const char* why = "";
    if (message != kWanted[reader->step]) {
        velk_GetLastError(&why);
        fprintf(stderr, "glib_example: %s failed (window message %u): %s\n",
                kStepNames[reader->step], message, why);
        return 0;
    }
    if (reader->step == kToneInfo && velk_GetMidInfo(&tones))
        return printf("ring tones \"%.10s\": %u held, %u slots\n", tones->name, tones->infoNumber1,
                      tones->infoNumber2) > 0;
    if (reader->step == kImageInfo && velk_GetAnimInfo(&images) && images != NULL)
        return printf("images \"%s\": %u held, frames of %u x %u dots\n", images->name,
                      images->infoNumber1, images->infoNumber4, images->infoNumber5) > 0;
    if (reader->step == kImage && velk_GetAnimData(&record) && record != NULL)
        return printf("image %d \"%.*s\": %u frames of 1536 characters\n", reader->image,
                      (int)record->nameLength, record->name, record->size / 1536u) > 0;
    fprintf(stderr, "glib_example: the library held no record after %s\n",
            kStepNames[reader->step]);
    return 0;
}

/* The window is readable: one whole message waits, as each is written with
 * a single write(). */
/* NOLINTNEXTLINE(bugprone-easily-swappable-parameters): GUnixFDSourceFunc's own */
static gboolean WindowReadable(gint window, GIOCondition condition, gpointer data) {
    Reader* reader = data;
    VelkWindowMessage m;
    (void)condition;
    if (read(window, &m, sizeof m) != (ssize_t)sizeof m) {
        fprintf(stderr, "glib_example: the window closed under the library\n");
        reader->failed = 1;
    } else if (m.message < VELK_MSG_MID_INFO_REFUSED || m.message > VELK_MSG_COMMAND_REFUSED) {
        return G_SOURCE_CONTINUE; /* an image's progress, or a notice */
    } else {
        g_source_remove(reader->limit);
        reader->limit = 0;
        reader->failed = !Report(reader, m.message);
        if (!reader->failed && ++reader->step != kDone) {
            reader->failed = !Ask(reader);
            if (!reader->failed) return G_SOURCE_CONTINUE;
        }
    }
    g_main_loop_quit(reader->loop);
    return G_SOURCE_REMOVE;
}

int main(int argc, char** argv) {
    int window[2];
    const char* why = "";
    Reader reader = {NULL, kToneInfo, argc > 2 ? atoi(argv[2]) : 1, 0, 0};
    if (argc < 2 || argc > 3 || reader.image < 1 || reader.image > 255) {
        fprintf(stderr, "usage: glib_example DEVICE [IMAGE]   (IMAGE from 1 to 255)\n");
        return 2;
    }
    if (!g_unix_open_pipe(window, FD_CLOEXEC, NULL)) {
        perror("glib_example: pipe");
        return 1;
    }
    velk_SetPortDevice(1, argv[1]);
    if (!velk_BeginThread(window[1], 1, 115200, 0)) { /* 115200 baud, RTS/CTS */
        velk_GetLastError(&why);
        fprintf(stderr, "glib_example: cannot open %s: %s\n", argv[1], why);
        return 1;
    }
    reader.loop = g_main_loop_new(NULL, FALSE);
    g_unix_fd_add(window[0], G_IO_IN | G_IO_HUP | G_IO_ERR, WindowReadable, &reader);
    if (Ask(&reader))
        g_main_loop_run(reader.loop);
    else
        reader.failed = 1;
    velk_EndThread();
    g_main_loop_unref(reader.loop);
    return reader.failed;
}
