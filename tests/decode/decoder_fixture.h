// Helpers of the result decoders' tests: reply lines are classified by the
// real matcher as the worker would, and the blocks a decoder gives are
// compared byte for byte with the block they must be.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "decode/solicited_decoder.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "response/reply_forms.h"
#include "response/response_matcher.h"

namespace velk {

// A block a decoder must give: its result id and the fields that are not zero.
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
    ResultBlockPtr block(AllocCommandBlock());
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

// Decodes one solicited line (ending in CR, as the matcher hands it on) after
// the real head parser cut it, and returns its blocks.
inline DecodedBlocks Solicited(int32_t command, const std::string& line,
                               const ReplySelectors& selectors = {}) {
    ATResponseRecord record;
    record.text = line;
    LineReports reports;
    ClassifyLine(record, line, selectors, reports);
    return DecodeSolicitedResult(command, record, selectors);
}

// Decodes one line and expects exactly one block of `resultId`.
inline ResultBlockPtr One(int32_t command, const std::string& line, int32_t resultId,
                          const ReplySelectors& selectors = {}) {
    DecodedBlocks blocks = Solicited(command, line, selectors);
    EXPECT_FALSE(blocks.error) << line;
    EXPECT_TRUE(blocks.result) << line;
    if (blocks.result) {
        EXPECT_EQ(blocks.result->resultId, resultId) << line;
    }
    return std::move(blocks.result);
}

}  // namespace velk
