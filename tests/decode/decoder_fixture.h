// Test fixture of the result decoders: the test thread plays the transfer
// thread, so every block a decoder posts lands in its own queue, and reply
// lines are classified by the real matcher as the worker would.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
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

// A block a decoder must post: its result id and the fields that are not zero.
struct Expected {
    int32_t resultId;
    std::function<void(ResultForms&)> fill;
};

template <std::size_t N>
void Put(char (&field)[N], std::string_view text) {
    std::memcpy(field, text.data(), std::min(text.size(), N));
}

// A text field as a string, read only up to the field's end.
template <std::size_t N>
std::string Field(const char (&field)[N]) {
    return std::string(field, std::find(field, field + N, '\0'));
}

// Empty when `got` is the expected block byte for byte, else where it differs.
inline std::string Difference(const ATCommandBlock& got, const Expected& want) {
    BlockPtr block(AllocCommandBlock());
    block->resultId = want.resultId;
    if (want.fill) want.fill(block->result);
    const auto* x = reinterpret_cast<const unsigned char*>(&got);
    const auto* y = reinterpret_cast<const unsigned char*>(block.get());
    std::size_t at = 0;
    while (at < sizeof(ATCommandBlock) && x[at] == y[at]) ++at;
    if (at == sizeof(ATCommandBlock)) return "";
    const auto show = [&](const unsigned char* p) {
        std::string out;
        for (std::size_t i = at; i < at + 24 && i < sizeof(ATCommandBlock); ++i) {
            static constexpr char kHex[] = "0123456789abcdef";
            out += p[i] >= 0x20 && p[i] < 0x7F
                       ? std::string(1, static_cast<char>(p[i]))
                       : std::string{'\\', 'x', kHex[p[i] >> 4], kHex[p[i] & 0x0F]};
        }
        return out;
    };
    return "result " + std::to_string(got.resultId) + " differs at byte " + std::to_string(at) +
           ": got \"" + show(x) + "\", want \"" + show(y) + "\"";
}

class DecoderFixture : public ::testing::Test {
  protected:
    void SetUp() override { TearDown(); }
    void TearDown() override {
        controllerThreadId = EnsureThreadQueue();
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

    // Decodes one solicited line (ending in CR, as the solicited path hands
    // it on) after the real head parser cut it, and returns the posted blocks.
    std::vector<BlockPtr> Solicited(int32_t command, const std::string& line) {
        DecoderState state;
        state.currentCommand = command;
        ATResponseRecord record;
        record.text = line;
        CATResponseMatcher().ClassifyLine(record, line);
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

    // Decodes one line and expects exactly the one block `want`.
    void ExpectOne(int32_t command, const std::string& line, const Expected& want) {
        if (BlockPtr block = One(command, line, want.resultId)) {
            EXPECT_EQ(Difference(*block, want), "") << line;
        }
    }
};

}  // namespace velk
