// Thread message numbers. A command with id N goes to the worker as message
// kCommandMessageBase + N with wParam 0; a result with id N goes to the
// transfer thread as the same number with wParam 1.
#pragma once

#include <cstdint>

namespace velk {

inline constexpr uint32_t kCommandMessageBase = 1224;
inline constexpr uint32_t MessageForId(int32_t id) {
    return kCommandMessageBase + static_cast<uint32_t>(id);
}

inline constexpr uintptr_t kRequestParam = 0;  // wParam of a request
inline constexpr uintptr_t kResultParam = 1;   // wParam of a result

// Status results.
inline constexpr int32_t kResultDone = 1;
inline constexpr int32_t kResultTimedOut = 2;
inline constexpr int32_t kResultError = 3;

// Control messages of the worker.
inline constexpr uint32_t AT_MSG_QUEUE_PROBE = 1024;  // only named to create the queue
inline constexpr uint32_t AT_MSG_CLEAR_PENDING = 1919;
inline constexpr uint32_t AT_MSG_REPLY_UNSOLICITED = 1920;
inline constexpr uint32_t AT_MSG_TICK = 1922;
inline constexpr uint32_t AT_MSG_STOPPED = 1923;
inline constexpr uint32_t AT_MSG_RESET = 1924;
inline constexpr uint32_t AT_MSG_STOP = 1926;
inline constexpr uint32_t AT_MSG_LINE_RECEIVED = 32764;
inline constexpr uint32_t AT_MSG_LINK_DOWN = 32766;

// Command ids the transfers send, and below the results they act on; the
// command table checks each against its row when it compiles.
inline constexpr int32_t kCmdToneRead = 152;    // AT+RNGR=
inline constexpr int32_t kCmdToneWrite = 154;   // AT+RNGW=
inline constexpr int32_t kCmdImageRead = 157;   // AT+IMGR=
inline constexpr int32_t kCmdImageWrite = 159;  // AT+IMGW=
inline constexpr int32_t kCmdToneInfo = 236;    // AT+RNGI
inline constexpr int32_t kCmdImageInfo = 237;   // AT+IMGINF
inline constexpr int32_t kCmdAttention = 239;   // AT
inline constexpr int32_t kCmdEchoOff = 240;     // ATE0

// Result ids the transfer thread acts on.
inline constexpr int32_t kResultToneInfo = 151;
inline constexpr int32_t kResultTonePart = 153;
inline constexpr int32_t kResultImageInfo = 156;
inline constexpr int32_t kResultImagePart = 158;

}  // namespace velk
