// What the result decoders hand back: owned blocks, in the order the worker
// is to post them. The decoders post nothing themselves.
#pragma once

#include <string>

#include "engine/thread_ids.h"

namespace velk {

// The blocks of one information line: at most a ResultError that goes first
// (an image part with a bad parameter text), then the line's own block.
// Either may be null.
struct DecodedBlocks {
    ResultBlockPtr error;
    ResultBlockPtr result;
};

// A ResultError block carrying `message`. A text of 257 characters or more
// leaves the message empty: the error still ends what it ends. Null when
// memory ran out.
ResultBlockPtr ErrorBlock(const std::string& message);

}  // namespace velk
