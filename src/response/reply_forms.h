// The settings and findings that shape how reply lines are read. The worker
// owns one of these and hands it by value to the matcher and the decoders;
// nothing here is process-wide.
#pragma once

#include <cstdint>

namespace velk {

// No service line drawn yet.
inline constexpr uint32_t kNoServiceReply = 255;

struct ReplySelectors {
    // Which kind of supplementary-service line the last dial command drew: 0
    // "+CLCK", 1 "+CLIP", 2 "+CLIR", 3 "+COLP", 4 "+COLR", 5 "+CCFC", 6
    // "+CCWA", 7 "+EXATDST". Not cleared between commands.
    uint32_t serviceReplyKind = kNoServiceReply;
    // Which grammar row a "+CMGL" line is read with: 0 the stored-message row
    // ("CMGLSM"), anything else the broadcast row ("CMGLCBM").
    uint32_t messageListForm = 0;
    // Which grammar row a "+CMGR" line is read with: 0 a delivered message
    // ("CMGRDELIVER"), 1 a submitted one ("CMGRSUBMIT"), 2 a broadcast
    // ("CMGRCBM"); any other value finds no row.
    uint32_t messageReadForm = 0;
};

}  // namespace velk
