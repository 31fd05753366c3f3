#include "velkport/transfer_outcome.h"

#include "velkport.h"

namespace velk::cli {
namespace {

struct EndRow {
    uint32_t message;
    int exitCode;
    const char* sentence;
    bool namesTarget;  // the refused command carries the slot or image number
};

constexpr EndRow kEndRows[] = {
    {VELK_MSG_MID_INFO_REFUSED, kExitRefused, "the phone refused AT+RNGI", false},
    {VELK_MSG_MID_READ_REFUSED, kExitRefused, "the phone refused AT+RNGR=", true},
    {VELK_MSG_MID_WRITE_REFUSED, kExitRefused, "the phone refused AT+RNGW=", true},
    {VELK_MSG_MID_INFO_READ, kExitDone, "", false},
    {VELK_MSG_MID_READ, kExitDone, "", false},
    {VELK_MSG_MID_WRITTEN, kExitDone, "", false},
    {VELK_MSG_TIMED_OUT, kExitNoAnswer,
     "no answer from the phone within 10 s: is it connected and switched on?", false},
    {VELK_MSG_OPENING_REFUSED, kExitRefused,
     "the phone refused AT or ATE0, the two commands that open every operation", false},
    {VELK_MSG_ANIM_WRITTEN, kExitDone, "", false},
    {VELK_MSG_ANIM_WRITE_REFUSED, kExitRefused, "the phone refused AT+IMGW=", true},
    {VELK_MSG_ANIM_INFO_REFUSED, kExitRefused, "the phone refused AT+IMGINF", false},
    {VELK_MSG_ANIM_INFO_READ, kExitDone, "", false},
    {VELK_MSG_ANIM_READ, kExitDone, "", false},
    {VELK_MSG_ANIM_READ_REFUSED, kExitRefused, "the phone refused AT+IMGR=", true},
};

}  // namespace

std::string EndSentence(std::string_view text) {
    std::string sentence(text);
    if (!sentence.ends_with('?') && !sentence.ends_with('.')) sentence += '.';
    return sentence;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): what, then where
Outcome DescribeEnd(const OperationEnd& end, std::string_view target, std::string_view device) {
    switch (end.kind) {
        case OperationEnd::Kind::kInterrupted:
            return {kExitInterrupted,
                    "interrupted: the running operation was cancelled and the link closed"};
        case OperationEnd::Kind::kNotTaken:
            return {kExitLinkLost, "the link to the phone on " + std::string(device) +
                                       " is gone: the library took no more requests"};
        case OperationEnd::Kind::kFinal:
            break;
    }
    if (end.message == VELK_MSG_TIMED_OUT && end.linkLost) {
        return {kExitLinkLost, "the link to the phone on " + std::string(device) +
                                   " was lost: was the cable pulled or the phone switched off?"};
    }
    for (const EndRow& row : kEndRows) {
        if (row.message != end.message) continue;
        std::string sentence = row.sentence;
        if (row.namesTarget && !target.empty()) sentence += " (" + std::string(target) + ")";
        return {row.exitCode, sentence};
    }
    return {kExitFailure, "the library ended the operation with the unknown message " +
                              std::to_string(end.message)};
}

}  // namespace velk::cli
