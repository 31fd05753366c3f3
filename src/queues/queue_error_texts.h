// The texts of the faults that the other party of the shared queues reports
// when it cannot start, by index.
#pragma once

namespace velk {

// The text of fault `index`; empty for index 0 and any index out of range.
const char* QueueErrorText(int index);

}  // namespace velk
