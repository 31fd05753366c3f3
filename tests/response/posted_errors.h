// Makes the test thread the transfer thread and collects the texts of the
// ResultError blocks that the matcher posts to it.
#pragma once

#include <string>
#include <vector>

#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/thread_messages.h"

namespace velk::testing {

class PostedErrors {
  public:
    PostedErrors() { controllerThreadId = EnsureThreadQueue(), Take(); }
    ~PostedErrors() { Take(); }

    // The messages of the error blocks posted since the last call, in order.
    std::vector<std::string> Take() {
        std::vector<std::string> texts;
        ThreadMessage m;
        while (PeekThreadMessage(m, MessageForId(kResultError), MessageForId(kResultError))) {
            auto* block = BlockOf(m);
            if (m.wParam == kResultParam && block != nullptr && block->resultId == kResultError) {
                texts.emplace_back(block->result.error.message);
            }
            FreeCommandBlock(block);
        }
        return texts;
    }
};

}  // namespace velk::testing
