#include "velkport/transfer_outcome.h"

#include <algorithm>

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
    {VELK_MSG_TIMED_OUT, kExitNoAnswer, "the phone stopped answering (nothing for 10 s)", false},
    {VELK_MSG_OPENING_REFUSED, kExitRefused,
     "the phone refused AT or ATE0, the two commands that open every operation", false},
    {VELK_MSG_ANIM_WRITTEN, kExitDone, "", false},
    {VELK_MSG_ANIM_WRITE_REFUSED, kExitRefused, "the phone refused AT+IMGW=", true},
    {VELK_MSG_ANIM_INFO_REFUSED, kExitRefused, "the phone refused AT+IMGINF", false},
    {VELK_MSG_ANIM_INFO_READ, kExitDone, "", false},
    {VELK_MSG_ANIM_READ, kExitDone, "", false},
    {VELK_MSG_ANIM_READ_REFUSED, kExitRefused, "the phone refused AT+IMGR=", true},
    {VELK_MSG_COMMAND_DONE, kExitDone, "", false},
    {VELK_MSG_COMMAND_REFUSED, kExitRefused, "the phone refused a command", false},
};

// The ends after which part of a write may be on the phone: a refused
// chunk, silence, a fallen link, Ctrl-C. The other refusals come before the
// first chunk.
bool WriteMayHaveBegun(const OperationEnd& end) {
    switch (end.kind) {
        case OperationEnd::Kind::kInterrupted:
            return true;
        case OperationEnd::Kind::kNotTaken:
            return false;
        case OperationEnd::Kind::kFinal:
            break;
    }
    return end.message == VELK_MSG_TIMED_OUT || end.message == VELK_MSG_MID_WRITE_REFUSED ||
           end.message == VELK_MSG_ANIM_WRITE_REFUSED;
}

}  // namespace

std::string EndSentence(std::string_view text) {
    std::string sentence(text);
    if (!sentence.ends_with('?') && !sentence.ends_with('.')) sentence += '.';
    return sentence;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): what, then where
Outcome DescribeEnd(const OperationEnd& end, const OperationTarget& target,
                    std::string_view device) {
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
        if (row.message == VELK_MSG_TIMED_OUT) {
            if (!target.doing.empty()) sentence += " while " + target.doing;
        } else if (row.exitCode == kExitRefused) {
            if (row.namesTarget && !target.refused.empty()) sentence += " (" + target.refused + ")";
            // The phone's own line when it says more than a plain ERROR.
            if (end.failure.known && end.failure.code >= 0 && !end.failure.text.empty() &&
                end.failure.text != "ERROR") {
                sentence += " with \"" + end.failure.text + "\"";
            }
        }
        return {row.exitCode, sentence};
    }
    return {kExitInternal, "the library ended the operation with the unknown message " +
                               std::to_string(end.message)};
}

std::string BrokenWriteSentence(const OperationEnd& end, std::string_view what, unsigned frames) {
    if (!WriteMayHaveBegun(end)) return {};
    const std::string target(what);
    if (frames == 0) {
        return "the write into " + target + " stopped before its end: " + target +
               " of the phone may now hold an incomplete tone; write it again";
    }
    if (end.progress == 0) {
        return "the write of " + target +
               " stopped before its first frame was known to have gone out: the phone's " + target +
               " may now be incomplete; write it again";
    }
    return "the write of " + target + " stopped after at least " +
           std::to_string(std::min(end.progress, frames)) + " of " + std::to_string(frames) +
           " frames had gone out: the phone's " + target + " is now incomplete; write it again";
}

}  // namespace velk::cli
