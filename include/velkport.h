/*
 * Velkport: read and write the ring tones and images of a mobile phone on a
 * serial port, driven by AT commands.
 *
 * How it is used
 *
 *   1. velk_BeginThread once: it opens the port and starts the library's
 *      threads. Nothing is sent to the phone yet.
 *   2. Any number of operations, one at a time: a read or write call, then a
 *      wait for one of the window messages below, then, after a good answer
 *      to a read, the matching fetch call (velk_GetMidInfo, velk_GetMidData,
 *      velk_GetAnimInfo, velk_GetAnimData).
 *   3. velk_EndThread once, last.
 *
 * Every call but velk_GetVersion and velk_GetLastError returns 1 for yes
 * and 0 for no. A read or write call only says whether the request was
 * taken; its outcome arrives later as a window message, and after a
 * failure velk_GetLastError tells why.
 *
 * Versions
 *
 *   Every function here came with 1.0.0, except those marked "Since 1.1.0"
 *   (velk_GetVersion, velk_GetLastError, the run of catalogue commands and
 *   the notices): an application that uses them needs libvelkport 1.1.0 or
 *   later. So do the window messages 1147, 1148 and 1226.
 *
 * The window
 *
 *   The "window" is a file descriptor that the application owns and the
 *   library writes to: the write end of a pipe, a socket or a FIFO. It fits
 *   any poll/epoll, GLib or Qt event loop. velk_BeginThread takes its own
 *   duplicate of the descriptor (close-on-exec), which lives until
 *   velk_EndThread; the application may close its own copy at any time. The
 *   library never changes the descriptor's flags.
 *
 *   Each message is one VelkWindowMessage of 16 bytes written with a single
 *   write(); wParam and lParam are 0, no data travels with a message. When
 *   the descriptor is full the library waits for room (without spinning) for
 *   a message that ends an operation; the two progress messages are dropped
 *   instead. When the reader is gone (EPIPE) messages are dropped. The
 *   library's threads block all signals, so a closed pipe never raises
 *   SIGPIPE in the application.
 *
 * Threads
 *
 *   All calls may be made from any thread of the application, also from
 *   several at once: velk_BeginThread, velk_EndThread and
 *   velk_CancelCurrentAction are serialised among themselves, and the others
 *   may run beside them. Operations themselves run one at a time; a request
 *   made while another operation runs is refused with 0. Some final
 *   messages (1135, 1138, 1139, 1141, 1142, 1143, 1146) can reach the
 *   window a moment before the link takes requests again: a request made at
 *   once in answer to it may be refused with 0 and is to be tried again (the
 *   Python package and velkport do so for up to 2 s). velk_GetVersion
 *   and velk_GetLastError may be called at any time, with or without a
 *   link.
 *
 *   velk_BeginThread blocks until the port is open; velk_EndThread and
 *   velk_CancelCurrentAction block until the library's threads of the link
 *   have ended. Every other call returns without waiting for the phone.
 *   None of the calls may be made from inside a signal handler.
 *
 * Records
 *
 *   A record handed out by a fetch call belongs to the library: read it, free
 *   nothing. It stays valid until the next operation of the same kind
 *   replaces it, or until the link ends (velk_EndThread, the restart inside
 *   velk_CancelCurrentAction, or a link that falls). A record given to
 *   velk_WriteMid or velk_WriteAnim is copied, data included, before the
 *   call returns.
 */
#ifndef VELKPORT_H
#define VELKPORT_H

#include <stdint.h>

#if defined(__GNUC__) || defined(__clang__)
#define VELK_API __attribute__((visibility("default")))
#else
#define VELK_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Window messages. Exactly one of 1133 to 1148 ends each operation that the
 * library accepted, unless velk_CancelCurrentAction or velk_EndThread ended
 * it first. */
#define VELK_MSG_MID_INFO_REFUSED 1133   /* the phone refused the tone information read */
#define VELK_MSG_MID_READ_REFUSED 1134   /* the phone refused the tone read */
#define VELK_MSG_MID_WRITE_REFUSED 1135  /* the phone refused a chunk of the tone write */
#define VELK_MSG_MID_INFO_READ 1136      /* velk_GetMidInfo may follow */
#define VELK_MSG_MID_READ 1137           /* velk_GetMidData may follow */
#define VELK_MSG_MID_WRITTEN 1138        /* the ring tone was written */
#define VELK_MSG_TIMED_OUT 1139          /* the phone did not answer in time, or the link fell */
#define VELK_MSG_OPENING_REFUSED 1140    /* the phone refused AT or ATE0 */
#define VELK_MSG_ANIM_WRITTEN 1141       /* the image was written */
#define VELK_MSG_ANIM_WRITE_REFUSED 1142 /* the phone refused a chunk, or no such image */
#define VELK_MSG_ANIM_INFO_REFUSED 1143  /* the phone refused the image information read */
#define VELK_MSG_ANIM_INFO_READ 1144     /* velk_GetAnimInfo may follow */
#define VELK_MSG_ANIM_READ 1145          /* velk_GetAnimData may follow */
#define VELK_MSG_ANIM_READ_REFUSED 1146  /* the phone refused a frame read, or no such image */
/* Progress, one try each: when the descriptor is full they are dropped, so
 * they are no reliable count of frames. */
#define VELK_MSG_ANIM_WRITE_PROGRESS 1224 /* the last chunk of one frame is about to go out */
#define VELK_MSG_ANIM_READ_PROGRESS 1225  /* one frame read, the next one asked for */
/* The end of a run of catalogue commands (velk_RunCommands). Since 1.1.0. */
#define VELK_MSG_COMMAND_DONE 1147    /* every command ended with OK */
#define VELK_MSG_COMMAND_REFUSED 1148 /* the phone answered a command with an error */
/* Notices wait for velk_GetNotices; only after velk_EnableNotices(1), and
 * one try, like the progress messages. Since 1.1.0. */
#define VELK_MSG_NOTICE 1226

/* The numbers velk_GetLastError gives a run of commands that was refused
 * before it started. Since 1.1.0. */
#define VELK_ERR_COMMAND_TEXT (-2) /* a text fits no command of the catalogue */
#define VELK_ERR_COMMAND_LIST (-3) /* no list, a NULL text, a count out of 1..64 */
#define VELK_ERR_MESSAGE_BODY (-4) /* the message text cannot be sent */
#define VELK_ERR_LINK_BUSY (-5)    /* no link stands, or another operation runs */

/* A writable file descriptor owned by the application (see "The window"). */
typedef int VelkWindow;

/* One window message as written to the descriptor: 16 bytes. */
typedef struct VelkWindowMessage {
    uint32_t message;
    uint32_t wParam;
    int64_t lParam;
} VelkWindowMessage;

/* Information on the phone's ring tones (velk_GetMidInfo). The numbers are
 * passed through from the phone as it states them. */
typedef struct MidInfoRecord {
    char name[10]; /* ended by a zero byte unless all 10 bytes are used */
    uint16_t infoNumber2;
    uint16_t infoNumber1;
    uint16_t infoNumber3;
} MidInfoRecord;

/* One ring tone: the argument of velk_WriteMid, the answer of
 * velk_GetMidData. */
typedef struct MidRecord {
    uint8_t id;          /* slot of the ring tone in the phone */
    uint16_t nameLength; /* characters in name, at most 10 */
    char name[10];       /* not ended by a zero byte when full */
    uint16_t size;       /* bytes at data; below 32512 for a write */
    uint8_t* data;       /* the body of the ring tone as text, no ending zero */
} MidRecord;

/* Information on the phone's images (velk_GetAnimInfo). */
typedef struct AnimInfoRecord {
    char name[20]; /* ended by a zero byte */
    uint16_t nameLength;
    uint16_t infoNumber1;
    uint16_t infoNumber2;
    uint16_t infoNumber3;
    uint16_t infoNumber4;
    uint16_t infoNumber5;
    /* One pair per image the phone stores, image n (from 1) at places 2n-2
     * and 2n-1: its number of frames, then the number of its first frame. */
    uint16_t* frameRanges;
    uint8_t frameRangeCount; /* values at frameRanges */
} AnimInfoRecord;

/* One image: the argument of velk_WriteAnim, the answer of velk_GetAnimData.
 * The image is a run of frames of 1536 characters each, nothing between. */
typedef struct AnimRecord {
    uint8_t id;         /* number of the image in frameRanges, from 1 */
    uint8_t nameLength; /* characters in name, at most 10 */
    char name[10];
    uint16_t size; /* characters at data */
    uint8_t* data;
    uint8_t animParamFirst; /* first and last value of each frame's parameter */
    uint8_t animParamLast;
} AnimRecord;

/* Opens the link: duplicates `window`, opens the serial port `port` (COM1 is
 * port 1) at `baudRate`, with XON/XOFF when `softwareFlow` is non-zero and
 * RTS/CTS otherwise. 1 when the link stands or stood already (the arguments
 * of a second call are then ignored); 0 when `window` is not an open,
 * writable descriptor or the port cannot be opened, and the call may be
 * repeated. Blocks until the port is open. */
VELK_API int32_t velk_BeginThread(VelkWindow window, uint8_t port, uint32_t baudRate,
                                  int32_t softwareFlow);

/* Ends the link: the running operation, if any, ends without a message, the
 * port is closed and every record handed out becomes invalid. 1, also when
 * no link stood. Blocks until the library's threads of the link have ended. */
VELK_API int32_t velk_EndThread(void);

/* Ends the running operation by tearing the link down and building it again
 * with the same window, port, rate and flow control. No window message
 * follows. 1 when an operation ran; 0 when none ran (the link stays as it
 * was) or no link stands. Blocks like velk_EndThread and velk_BeginThread.
 * The phone may still send the rest of the cancelled reply: the next
 * operation's first command goes out once the phone has been silent for
 * 100 ms (at most 2 s after the restart), and what came before is thrown
 * away. */
VELK_API int32_t velk_CancelCurrentAction(void);

/* Reads the ring-tone information: 1136 or 1133, 1139, 1140. */
VELK_API int32_t velk_ReadMidInfo(void);

/* After 1136: the held record's address at *info; 1 when it is not null. 0
 * when no good result waits or `info` is NULL. */
VELK_API int32_t velk_GetMidInfo(MidInfoRecord** info);

/* Reads the ring tone in `slot`: 1137 or 1134, 1139, 1140. */
VELK_API int32_t velk_ReadMid(uint8_t slot);

/* After 1137: the tone read at *record; 1 when a record is held. 0 when no
 * good result waits or `record` is NULL. */
VELK_API int32_t velk_GetMidData(MidRecord** record);

/* Writes a ring tone in chunks of 128 characters: 1138 or 1135, 1139, 1140.
 * `data` is read as text up to its first zero byte, never past `size` bytes.
 * Refused with 0 (nothing changes) while an operation runs, when nameLength
 * is above 10, size is 32512 or more, or data is NULL with size above 0. */
VELK_API int32_t velk_WriteMid(MidRecord record);

/* Reads the image information: 1144 or 1143, 1139, 1140. */
VELK_API int32_t velk_ReadAnimInfo(void);

/* After 1144: the held record's address at *info, null included; 1. 0 when
 * no good result waits or `info` is NULL. */
VELK_API int32_t velk_GetAnimInfo(AnimInfoRecord** info);

/* Reads image `id` (from 1) after a fresh image information read: one 1225
 * for each frame but the last, then 1145; or 1143, 1146, 1139, 1140. An image
 * number the phone does not list ends with 1146. */
VELK_API int32_t velk_ReadAnim(uint8_t id);

/* After 1145: the held record's address at *record, null included; 1. 0
 * when no good result waits or `record` is NULL. */
VELK_API int32_t velk_GetAnimData(AnimRecord** record);

/* Writes image record.id after a fresh image information read: size / 1536
 * frames (a shorter rest is not sent), one 1224 for each frame, then 1141;
 * or 1143, 1142, 1139, 1140. An image number the phone does not list ends
 * with 1142. Refused with 0 while an operation runs, when nameLength is
 * above 10, size is below 1536 or data is NULL. */
VELK_API int32_t velk_WriteAnim(AnimRecord record);

/* Maps serial port `port` to a device path (/dev/ttyUSB0, a pseudo-terminal
 * slave...). NULL restores the default, /dev/ttyS<port-1>. The mapping is
 * read at each link start, the restart of velk_CancelCurrentAction included.
 * 1 on success; 0 for port 0 or a path longer than PATH_MAX. */
VELK_API int32_t velk_SetPortDevice(uint8_t port, const char* devicePath);

/* The version of the library that is loaded, "1.1.0": it may be newer than
 * the header the application was built with. The text is constant and
 * lives as long as the library.
 * Since 1.1.0. Any thread, at any time. */
VELK_API const char* velk_GetVersion(void);

/* Why the latest start or operation failed, for the application to tell
 * its user. Returns a number; `*text`, when `text` is not NULL, gets a
 * line of text (never NULL, no line end).
 *
 * After velk_BeginThread returned 0, or the restart inside
 * velk_CancelCurrentAction failed: the errno of the step that failed, and
 * a sentence:
 *   ENOENT, ENXIO, ENODEV  the device does not exist
 *   EACCES, EPERM          no permission to open the device
 *   EBUSY                  another program holds the device (its lock, or
 *                          the kernel's exclusive mark)
 *   ENOTTY                 the device is no serial port
 *   EBADF                  the window is no descriptor open for writing
 *   any other              the failing call's errno: EINVAL when the driver
 *                          refused or did not keep the line settings or
 *                          the rate, EAGAIN when no thread could be started
 *
 * After one of the failure messages (1133, 1134, 1135, 1139, 1140, 1142,
 * 1143, 1146):
 *   n >= 0  the phone answered with an error. n is the number of its
 *           "+CME ERROR: n" or "+CMS ERROR: n"; 0 for a plain "ERROR" and
 *           for an error that names no number ("+CME ERROR: SIM not
 *           inserted"). The text is the phone's line as the library read
 *           it: "ERROR", or the line's mark and what the phone gave,
 *           e.g. "+CME ERROR: 22", "+CMS ERROR: 500".
 *   -1      the phone gave no error: it stopped answering (1139), the link
 *           was lost (1139), its answer could not be read, or it lists no
 *           such image (1142, 1146). The text is a sentence.
 *
 * After 1148, and after a run of commands refused with 0 (-2 to -5, the
 * VELK_ERR_ numbers): see velk_RunCommands.
 *
 * With no failure since the last start or request: 0 and "".
 *
 * The cause is recorded before the window message that ends the operation
 * is sent, so it is there when the message is read. Each start of a link
 * and each request the library takes clears it; `*text` stays valid and
 * unchanged until then.
 * Since 1.1.0. Any thread, at any time; it never waits for the phone. */
VELK_API int velk_GetLastError(const char** text);

/* Runs `count` (1 to 64) catalogue commands as one operation: the opening
 * (AT, ATE0) as for every operation, then each command in order, each to
 * its final answer, stopping at the first the phone refuses. Each text is
 * written as a user writes it: "AT+CSQ", "AT+CPBR=1,10", "AT+CPBS=\"SM\"";
 * where several commands share a text the lowest id is taken, and "#<id> "
 * in front names one ("#61 AT+CMGR=3"). Ends with 1147 when every command
 * ended with OK, 1148 when the phone answered one with an error line, 1140
 * or 1139; velk_GetCommandResult may follow any of 1147, 1148 and 1139.
 *
 * 0, with nothing sent, when a text fits no command or its parameters, is
 * AT+CMGS= or AT+CMGW= (see velk_RunCommandWithBody), when `texts` or a
 * text is NULL or `count` is out of range, when no link stands or another
 * operation runs; velk_GetLastError then gives VELK_ERR_COMMAND_TEXT,
 * VELK_ERR_COMMAND_LIST or VELK_ERR_LINK_BUSY and a sentence, for a text
 * "command <n> \"<text>\": " and why, n counted from 0.
 *
 * After 1148, velk_GetLastError gives the number of the phone's error line
 * as after 1133, and the text "command <n>: " before the phone's line:
 * "command 1: +CME ERROR: 21". After 1139 it says which command went
 * unanswered.
 * Since 1.1.0. Any thread; the texts are read before the call returns. */
VELK_API int velk_RunCommands(const char* const* texts, int count);

/* velk_RunCommands of one text. Since 1.1.0. */
VELK_API int velk_RunCommand(const char* text);

/* AT+CMGS= or AT+CMGW= in text mode (after AT+CMGF=1), the message text
 * `body` sent after the phone's "> " prompt and ended by Ctrl-Z; then as
 * velk_RunCommand. Also 0 with VELK_ERR_COMMAND_TEXT when `text` is another
 * command, with VELK_ERR_MESSAGE_BODY when `body` is longer than 1024 bytes
 * or holds a Ctrl-Z or an Esc, with VELK_ERR_COMMAND_LIST when it is NULL.
 * Since 1.1.0. Any thread; `body` is copied before the call returns. */
VELK_API int velk_RunCommandWithBody(const char* text, const char* body);

/* After 1147, 1148 or 1139 of a run of commands: at *json a JSON array of
 * every block the commands drew, in the order they came, each the object
 * that "velkport decode" prints with "command", the place of its command in
 * the list from 0, as its first key:
 *   [{"command":0,"resultId":9,"form":"ResultSignal",...},...]
 * The ends of the commands (OK, the time-out) are not among them; the
 * phone's error line is, as its ResultError, and so is a report on a line
 * the library could not read, which ends no command. Notices are not. At
 * most 65536 blocks; a phone that sends more has the rest dropped. 1;
 * 0 when `json` is NULL, an operation runs, or the latest operation was no
 * run of commands or ended in its opening (1140, or 1139 there). The text
 * belongs to the library and lives until the next operation starts or the
 * link ends.
 * Since 1.1.0. Any thread. */
VELK_API int velk_GetCommandResult(const char** json);

/* Notices are the lines the phone sends of its own accord that the library
 * decodes: a new message (+CMTI, +CMT), the network registration (+CREG),
 * the signal, the battery, a ring... They are off by default: then nothing
 * of them reaches the application. With `on` non-zero each is kept, as the
 * object "velkport decode" prints, at most 256 (the oldest dropped and
 * counted), and announced with 1226: once for all that came since the last
 * velk_GetNotices, tried again with the next notice when the window was
 * full. Off forgets what is kept. The choice holds for the process, across
 * links, with or without one. 1.
 * Since 1.1.0. Any thread. */
VELK_API int velk_EnableNotices(int on);

/* Hands over the notices kept, oldest first, and forgets them: at *json
 *   {"dropped":<n>,"notices":[{"resultId":56,"form":"ReportMessageStored",...},...]}
 * n the count of those dropped since the last call. 1; 0 when `json` is
 * NULL. The text belongs to the library and lives until the next call.
 * Since 1.1.0. Any thread, at any time. */
VELK_API int velk_GetNotices(const char** json);

#ifdef __cplusplus
}
#endif

#endif /* VELKPORT_H */
