// Test fixture of the result decoders: the test thread plays the transfer
// thread, so every block a decoder posts lands in its own queue, and reply
// lines are classified by the real matcher as the worker would.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "decode/decoder_state.h"
#include "decode/solicited_decoder.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/thread_messages.h"
#include "response/reply_forms.h"
#include "response/response_matcher.h"

namespace velk {

struct BlockDeleter {
    void operator()(ATCommandBlock* block) const {
        if (block->resultId == kResultImageInfo) delete block->result.imageInfo.frameRanges;
        FreeCommandBlock(block);
    }
};
using BlockPtr = std::unique_ptr<ATCommandBlock, BlockDeleter>;

class DecoderFixture : public ::testing::Test {
  protected:
    void SetUp() override {
        controllerThreadId = EnsureThreadQueue();
        Take();
        SetMessageForms(0, 0);
        serviceReplyKind = kNoServiceReply;
    }

    void TearDown() override {
        Take();
        SetMessageForms(0, 0);
        serviceReplyKind = kNoServiceReply;
    }

    // Every block posted since the last call, in order of posting.
    std::vector<BlockPtr> Take() {
        std::vector<BlockPtr> blocks;
        ThreadMessage message;
        while (PeekThreadMessage(message)) {
            auto* block = BlockOf(message);
            EXPECT_EQ(message.wParam, kResultParam);
            EXPECT_EQ(message.message, MessageForId(block->resultId));
            blocks.emplace_back(block);
        }
        return blocks;
    }

    // A reply line cut into parameters by the real head parser; `line` ends
    // in CR as the solicited path hands it on.
    ATResponseRecord Classify(const std::string& line) {
        ATResponseRecord record;
        record.text = line;
        CATResponseMatcher matcher;
        matcher.ClassifyLine(record, line);
        return record;
    }

    // Decodes one solicited line and returns the blocks it posted.
    std::vector<BlockPtr> Solicited(int32_t command, const std::string& line) {
        DecoderState state;
        state.currentCommand = command;
        ATResponseRecord record = Classify(line);
        DecodeSolicitedResult(state, record);
        return Take();
    }

    // Decodes one line and expects exactly one block of `resultId`.
    BlockPtr One(int32_t command, const std::string& line, int32_t resultId) {
        std::vector<BlockPtr> blocks = Solicited(command, line);
        EXPECT_EQ(blocks.size(), 1u) << line;
        if (blocks.empty()) return nullptr;
        EXPECT_EQ(blocks[0]->resultId, resultId) << line;
        return std::move(blocks[0]);
    }
};

// A text field as a string, read only up to the field's end.
template <std::size_t N>
std::string Field(const char (&field)[N]) {
    std::size_t n = 0;
    while (n < N && field[n] != '\0') ++n;
    return std::string(field, n);
}

}  // namespace velk
