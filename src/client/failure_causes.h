// What velk_GetLastError tells of each way a start or an operation can fail:
// a number and a text, built from what the failing step knew. These are
// pure functions; the transfer thread and the start record what they give
// (last_failure.h).
//
// The number, by kind of failure:
//   a refused start      the errno of the step that failed
//   the phone's error    the number of its +CME ERROR or +CMS ERROR; 0 for a
//                        plain ERROR and for an error that names no number
//   anything else        -1: the phone said nothing that tells why (it stopped
//                        answering, the link fell, its answer could not be
//                        read, it lists no such image)
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "engine/result_forms.h"
#include "platform/tty_port.h"

namespace velk {

struct FailureCause {
    int32_t code = 0;
    std::string text;
};

// The number of a failure the phone gave no reason for.
inline constexpr int32_t kNoPhoneError = -1;

// A command ended by a ResultError block with `message`: the phone's error
// line, or a report of the library on a line it could not read.
FailureCause CauseOfRefusal(const ResultErrorForm& error);

// Command `commandId` had no line from the phone in time; `tries` is how
// often it went out.
FailureCause CauseOfTimeOut(int32_t commandId, int tries);

// The phone answered AT or ATE0 with `refusal` (a CauseOfRefusal text) and
// then nothing more.
FailureCause CauseOfOpeningSilence(int32_t commandId, std::string_view refusal);

// An image number that the phone's +IMGINF does not list.
FailureCause CauseOfUnlistedImage(unsigned id);

// The device of the link could not be opened or set up: `fault` and the
// errno of the failing call.
FailureCause CauseOfStartFault(TtyFault fault, int error);

// Texts of the failures that need nothing more to be told.
inline constexpr std::string_view kLinkLostText =
    "the link to the phone was lost: the device hung up or failed";
inline constexpr std::string_view kOutOfMemoryText = "the library ran out of memory";
inline constexpr std::string_view kNoImageStartText =
    "the phone sent frames of the image but not its start";
inline constexpr std::string_view kNothingToWriteText =
    "the record to write was gone before its first chunk";
inline constexpr std::string_view kWindowRefusedText =
    "the window is no descriptor open for writing";
inline constexpr std::string_view kNoThreadText = "no thread could be started for the link";

}  // namespace velk
