// Process-wide settings and findings that shape how reply lines are read.
// They are plain 32-bit numbers; atomics so that a setting changed on another
// thread is never a data race with the worker reading it.
#pragma once

#include <atomic>
#include <cstdint>

namespace velk {

// Which kind of supplementary-service line the last dial command drew: 0
// "+CLCK", 1 "+CLIP", 2 "+CLIR", 3 "+COLP", 4 "+COLR", 5 "+CCFC", 6 "+CCWA",
// 7 "+EXATDST"; 255 until a dial command first draws one. It is not cleared
// between commands. Written and read on the worker thread.
inline constexpr uint32_t kNoServiceReply = 255;
extern std::atomic<uint32_t> serviceReplyKind;

// Which grammar row a "+CMGL" line is read with: 0 the stored-message row
// ("CMGLSM"), anything else the broadcast row ("CMGLCBM").
extern std::atomic<uint32_t> messageListForm;

// Which grammar row a "+CMGR" line is read with: 0 a delivered message
// ("CMGRDELIVER"), 1 a submitted one ("CMGRSUBMIT"), 2 a broadcast
// ("CMGRCBM"); any other value finds no row.
extern std::atomic<uint32_t> messageReadForm;

}  // namespace velk
