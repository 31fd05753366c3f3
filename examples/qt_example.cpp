// Reads a phone's ring-tone information and one of its images from a Qt
// event loop, which watches the library's window with a QSocketNotifier:
//
//   qt_example DEVICE [IMAGE]
//
// Each window message that ends an operation starts the next one, so the
// loop stays free for the rest of an application in between. Exits 0 when
// both were read, 1 with a sentence when the phone or the device failed, 2
// on a wrong command line; gives up after 60 s without the next step. Needs
// only QtCore and no moc: the notifier and the timer call lambdas.
//
// Build: c++ -fPIC qt_example.cpp $(pkg-config --cflags --libs velkport Qt5Core)
#include <unistd.h>
#include <velkport.h>
#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kLimitMs = 60000;

// The operations in the order they run; the image is read after a fresh
// image information read.
enum Step { kToneInfo, kImageInfo, kImage, kDone };

constexpr const char* kStepNames[] = {"the ring-tone information read",
                                      "the image information read", "the image read"};
constexpr unsigned kWanted[] = {VELK_MSG_MID_INFO_READ, VELK_MSG_ANIM_INFO_READ,
                                VELK_MSG_ANIM_READ};

bool Ask(Step step, int image) {
    const int asked = step == kToneInfo    ? velk_ReadMidInfo()
                      : step == kImageInfo ? velk_ReadAnimInfo()
                                           : velk_ReadAnim(static_cast<uint8_t>(image));
    if (!asked)
        std::fprintf(stderr, "qt_example: the library did not take the request for %s\n",
                     kStepNames[step]);
    return asked;
}

// Prints what the operation that ended with `message` brought; false after
// a sentence when it failed.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the step, then what ended it
bool Report(Step step, int image, unsigned message) {
    if (message != kWanted[step]) {
        const char* why = "";
        velk_GetLastError(&why);
        std::fprintf(stderr, "qt_example: %s failed (window message %u): %s\n", kStepNames[step],
                     message, why);
        return false;
    }
    MidInfoRecord* tones = nullptr;
    AnimInfoRecord* images = nullptr;
    AnimRecord* record = nullptr;
    if (step == kToneInfo && velk_GetMidInfo(&tones))
        return std::printf("ring tones \"%.10s\": %u held, %u slots\n", tones->name,
                           tones->infoNumber1, tones->infoNumber2) > 0;
    if (step == kImageInfo && velk_GetAnimInfo(&images) && images != nullptr)
        return std::printf("images \"%s\": %u held, frames of %u x %u dots\n", images->name,
                           images->infoNumber1, images->infoNumber4, images->infoNumber5) > 0;
    if (step == kImage && velk_GetAnimData(&record) && record != nullptr)
        return std::printf("image %d \"%.*s\": %u frames of 1536 characters\n", image,
                           static_cast<int>(record->nameLength), record->name,
                           record->size / 1536u) > 0;
    std::fprintf(stderr, "qt_example: the library held no record after %s\n", kStepNames[step]);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int image = argc > 2 ? std::atoi(argv[2]) : 1;
    if (argc < 2 || argc > 3 || image < 1 || image > 255) {
        std::fprintf(stderr, "usage: qt_example DEVICE [IMAGE]   (IMAGE from 1 to 255)\n");
        return 2;
    }
    int window[2];
    if (pipe(window) != 0) {
        std::perror("qt_example: pipe");
        return 1;
    }
    velk_SetPortDevice(1, argv[1]);
    if (!velk_BeginThread(window[1], 1, 115200, 0)) {  // 115200 baud, RTS/CTS
        const char* why = "";
        velk_GetLastError(&why);
        std::fprintf(stderr, "qt_example: cannot open %s: %s\n", argv[1], why);
        return 1;
    }

    Step step = kToneInfo;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, [&] {
        std::fprintf(stderr, "qt_example: nothing ended %s within %d s; giving up\n",
                     kStepNames[step], kLimitMs / 1000);
        app.exit(1);
    });
    QSocketNotifier notifier(window[0], QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [&] {
        // One whole message waits, as each is written with a single write().
        VelkWindowMessage m;
        if (read(window[0], &m, sizeof m) != static_cast<ssize_t>(sizeof m)) {
            std::fprintf(stderr, "qt_example: the window closed under the library\n");
            notifier.setEnabled(false);
            app.exit(1);
            return;
        }
        if (m.message < VELK_MSG_MID_INFO_REFUSED || m.message > VELK_MSG_COMMAND_REFUSED)
            return;  // an image's progress, or a notice
        limit.stop();
        if (!Report(step, image, m.message)) {
            app.exit(1);
            return;
        }
        step = static_cast<Step>(step + 1);
        if (step == kDone) {
            app.exit(0);
            return;
        }
        if (Ask(step, image)) {
            limit.start(kLimitMs);
        } else {
            app.exit(1);
        }
    });

    int failed = 1;
    if (Ask(step, image)) {
        limit.start(kLimitMs);
        failed = app.exec();
    }
    velk_EndThread();
    return failed;
}
