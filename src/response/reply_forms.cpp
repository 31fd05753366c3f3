#include "response/reply_forms.h"

namespace velk {

std::atomic<uint32_t> serviceReplyKind{kNoServiceReply};
std::atomic<uint32_t> messageListForm{0};
std::atomic<uint32_t> messageReadForm{0};

}  // namespace velk
