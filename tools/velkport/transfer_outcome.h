// What the end of an operation means to the user: a sentence and the exit
// code, by the window message that ended it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "velkport/phone_link.h"

namespace velk::cli {

struct Outcome {
    int exitCode = kExitDone;
    std::string sentence;  // empty for a success
};

// What an operation worked on, for the sentences of its end.
struct OperationTarget {
    // Named after the refusals of the commands that carry it: "slot 7",
    // "image 2"; empty for the information reads.
    std::string refused;
    // What the phone was doing when it stopped answering: "reading image 2".
    std::string doing;
};

// `text` as a sentence of its own: a full stop at its end unless it asks.
std::string EndSentence(std::string_view text);

// `device` names the line, for a lost link.
Outcome DescribeEnd(const OperationEnd& end, const OperationTarget& target,
                    std::string_view device);

// What a write that ended as `end` may have left on the phone, or nothing
// when no part of it can have gone out. `what` is "image 2" or "slot 3";
// `frames` the frames of an image write (0 for a tone), of which the
// progress messages count those that went out.
std::string BrokenWriteSentence(const OperationEnd& end, std::string_view what, unsigned frames);

}  // namespace velk::cli
