#include "client/failure_causes.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <system_error>

#include "engine/command_catalogue.h"
#include "engine/message_numbers.h"
#include "engine/worker_thread.h"
#include "response/response_matcher.h"

namespace velk {
namespace {

// The error line the matcher took apart: it hands on what follows the colon
// of "+CME ERROR: <err>", "+CMS ERROR: <err>" or "+CME: <err>", without
// quotes, or "ERROR" for a plain one, and the worker adds which mark it was.
// A block without its mark is told as +CME ERROR, the equipment's own.
constexpr std::string_view kPlainError = "ERROR";
constexpr std::string_view kEquipmentError = "+CME ERROR: ";

// What the library itself says of a line it could not read: such a text
// ends the command like an error line of the phone, but it is no answer of
// the phone. "%s" stands for the line or a part of it.
constexpr std::string_view kLibraryReports[] = {
    kReportResponseError,        kReportHeadError,       kReportDataHeadError,
    kReportIllegalParam,         kReportUnsolicitedHead, kReportUnsolicitedIllegal,
    kReportNoGrammarRow,
    "animParam %s is not right",  // an image part whose parameter is not six digits
};

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the text, then what it is tried against
bool FitsPattern(std::string_view text, std::string_view pattern) {
    const std::size_t at = pattern.find("%s");
    const std::string_view head = pattern.substr(0, at);
    const std::string_view tail = pattern.substr(at + 2);
    return text.size() >= head.size() + tail.size() && text.starts_with(head) &&
           text.ends_with(tail);
}

bool IsLibraryReport(std::string_view text) {
    for (std::string_view pattern : kLibraryReports) {
        if (FitsPattern(text, pattern)) return true;
    }
    return false;
}

// The number of an error detail, or 0 when it is no number that an int
// holds ("SIM not inserted", "-3", "99999999999").
int32_t ErrorNumber(std::string_view detail) {
    int32_t number = 0;
    const char* end = detail.data() + detail.size();
    const auto [stop, error] = std::from_chars(detail.data(), end, number);
    if (detail.empty() || detail.front() == '-' || error != std::errc() || stop != end) return 0;
    return number;
}

std::string CommandName(int32_t commandId) {
    const char* text = CatalogueText(commandId);
    return text != nullptr ? text : "the command";
}

std::string CommandSeconds() {
    return std::to_string(kCommandTimeoutMs / 1000) + " s";
}

}  // namespace

FailureCause CauseOfRefusal(const ResultErrorForm& error) {
    const std::string_view message(error.message, strnlen(error.message, sizeof error.message));
    const std::string_view mark(error.mark, strnlen(error.mark, sizeof error.mark));
    if (message == kPlainError) return {0, std::string(kPlainError)};
    if (IsLibraryReport(message)) return {kNoPhoneError, std::string(message)};
    // The phone's line as it came: its own mark, then what followed it.
    const std::string line = mark.empty() ? std::string(kEquipmentError) + std::string(message)
                                          : std::string(mark) + ' ' + std::string(message);
    return {ErrorNumber(message), line};
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the command, then its tries
FailureCause CauseOfTimeOut(int32_t commandId, int tries) {
    std::string text = "no answer from the phone to " + CommandName(commandId);
    if (tries > 1) {
        text += " in " + std::to_string(tries) + " tries of " + CommandSeconds() + " each";
    } else {
        text += " within " + CommandSeconds();
    }
    return {kNoPhoneError, text};
}

FailureCause CauseOfOpeningSilence(int32_t commandId, std::string_view refusal) {
    return {kNoPhoneError, "the phone answered " + CommandName(commandId) + " with \"" +
                               std::string(refusal) + "\" and then nothing for " +
                               CommandSeconds()};
}

FailureCause CauseOfUnlistedImage(unsigned id) {
    return {kNoPhoneError, "the phone lists no image " + std::to_string(id)};
}

FailureCause CauseOfStartFault(TtyFault fault, int error) {
    switch (fault) {
        case TtyFault::kLocked:
            return {EBUSY, "the device is in use: another program holds it"};
        case TtyFault::kNotATerminal:
            return {ENOTTY, "the device is no serial port (not a terminal)"};
        case TtyFault::kSettingsRefused:
            return {error != 0 ? error : EINVAL,
                    "the device refused the line settings (8 data bits, no parity, one stop bit)"};
        case TtyFault::kRateRefused:
            return {error != 0 ? error : EINVAL, "the device refused the baud rate"};
        case TtyFault::kOpenRefused:
            break;
        case TtyFault::kNone:
            return {EIO, "the link could not be started"};
    }
    switch (error) {
        case ENOENT:
        case ENXIO:
        case ENODEV:
            return {error, "the device does not exist"};
        case EACCES:
        case EPERM:
            return {error, "no permission to open the device"};
        case EBUSY:
            // The kernel's exclusive mark of another open.
            return {error, "the device is in use: another program holds it"};
        case 0:
            return {EIO, "the device could not be opened"};
        default:
            return {error,
                    "the device could not be opened: " + std::generic_category().message(error)};
    }
}

}  // namespace velk
