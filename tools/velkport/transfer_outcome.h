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

// `text` as a sentence of its own: a full stop at its end unless it asks.
std::string EndSentence(std::string_view text);

// `target` names what the operation worked on ("slot 7", "image 2") for the
// refusals of the commands that carry it; `device` the line, for a lost link.
Outcome DescribeEnd(const OperationEnd& end, std::string_view target, std::string_view device);

}  // namespace velk::cli
