// ATCommandBlock: one command or one result crossing a thread boundary. A
// block has exactly one owner; the thread message that carries it hands it
// over. Blocks are always allocated zero-filled at full size, so a field that
// nothing wrote reads 0 or empty.
#pragma once

#include <cstdint>

#include "engine/request_forms.h"
#include "engine/result_forms.h"

namespace velk {

struct ATCommandBlock {
    union {
        int32_t commandId;  // in a request
        int32_t resultId;   // in a result
    };
    union {
        RequestForms request;
        ResultForms result;
    };
};

// A zero-filled block from the heap, or nullptr when memory ran out.
ATCommandBlock* AllocCommandBlock();
// Returns a block to the heap; nullptr is ignored. Does not touch what the
// block points to (an image-information list must be released first).
void FreeCommandBlock(ATCommandBlock* block);
// Returns a result block with what it owns: the frame list of an
// image-information block. nullptr is ignored.
void FreeResultBlock(ATCommandBlock* block);

}  // namespace velk
