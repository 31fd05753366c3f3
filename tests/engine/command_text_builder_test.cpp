#include "engine/command_text_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "engine/command_block.h"
#include "engine/command_catalogue.h"
#include "engine/command_table.h"
#include "request_samples.h"

namespace velk {
namespace {

using namespace std::string_literals;
using samples::Image;
using samples::kRows;
using samples::Logo;
using samples::Row;

constexpr int32_t kUntouched = 4242;

using BlockPtr = std::unique_ptr<ATCommandBlock, void (*)(ATCommandBlock*)>;
BlockPtr NewBlock() {
    return BlockPtr(AllocCommandBlock(), FreeCommandBlock);
}

std::string Build(int32_t id, ATCommandBlock& block, int32_t expectedCurrent) {
    int32_t current = kUntouched;
    std::string text = BuildCommandText(id, block, current);
    EXPECT_EQ(current, expectedCurrent);
    return text;
}

TEST(BuildCommandText, ParameterFormsGiveTheirLines) {
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.line);
        BlockPtr block = NewBlock();
        row.fill(block->request);
        EXPECT_EQ(Build(row.id, *block, row.id), row.line);
    }
}

// A command with a parameter form needs a sample above, so that its branches
// are pinned; a bare one sends its text alone whatever the block holds.
TEST(BuildCommandText, BareCommandsIgnoreWhatTheBlockHolds) {
    std::set<int32_t> sampled;
    for (const Row& row : kRows) sampled.insert(row.id);
    for (const CommandRow& command : CommandRows()) {
        if (command.text == nullptr) continue;
        SCOPED_TRACE("id " + std::to_string(command.id));
        if (command.form != RequestForm::kBare) {
            EXPECT_EQ(sampled.count(command.id), 1u) << "a parameter form without a sample";
            continue;
        }
        for (const int fill : {0x00, 0x31, 0xFF}) {
            BlockPtr block = NewBlock();
            std::memset(&block->request, fill, sizeof(block->request));
            EXPECT_EQ(Build(command.id, *block, command.id), command.text);
        }
    }
}

TEST(BuildCommandText, IdsWithoutTextGiveNothingAndLeaveCurrentCommand) {
    for (const int32_t id : {-1, 0, 1, 3, 12, 14, 117, 118, 131, 142, 193, 226, 242, 1224 + 239}) {
        SCOPED_TRACE("id " + std::to_string(id));
        BlockPtr block = NewBlock();
        std::memset(&block->request, 0x31, sizeof(block->request));
        EXPECT_EQ(Build(id, *block, kUntouched), "");
        EXPECT_TRUE(CatalogueResults(id).empty());
    }
}

// The two places where the builder writes into the caller's block.
TEST(BuildCommandText, ImageDefaultAndLogoCapitalsAreWrittenBack) {
    BlockPtr block = NewBlock();
    block->request.imageChunk = Image(2, 0, 0, 0);
    Build(159, *block, 159);
    EXPECT_EQ(block->request.imageChunk.animParamFirst, 25);
    block->request.imageChunk = Image(2, 0, 0, 4);  // one parameter set keeps a first of 0
    Build(159, *block, 159);
    EXPECT_EQ(block->request.imageChunk.animParamFirst, 0);

    RequestLogoChunk& logo = block->request.logoChunk;
    logo = Logo(0);
    Build(163, *block, 163);
    EXPECT_EQ(std::string(logo.code1), "ABC");
    EXPECT_EQ(std::string(logo.code2), "D1E");
    // Only the code is the caller's text; what lies behind its end stays as it is.
    std::memcpy(logo.code1, "ab\0cd", 6);
    Build(163, *block, 163);
    EXPECT_EQ(std::string(logo.code1, 5), "AB\0cd"s);
}

// A message text rides behind the parameters of AT+CMGS= and AT+CMGW=, whose
// lines stay as they are. A text the phone would end or cancel early, or one
// that does not fit, is refused with the block left as it was; so is any
// text for a command that sends none.
TEST(SetMessageBody, LeavesTheCommandLineAndRefusesWhatCannotGo) {
    const std::string full(kMessageBodyWidth, 'x');
    const struct {
        int32_t id;
        std::string body;
        BodyFault fault;
    } cases[] = {
        {65, full, BodyFault::kNone},
        {69, "Hi\r\nthere", BodyFault::kNone},
        {65, full + 'x', BodyFault::kTooLong},
        {65,
         "a\x1A"
         "b",
         BodyFault::kEndingByte},
        {69, "\x1B", BodyFault::kEndingByte},
        {45, "Hi", BodyFault::kNoBody},
    };
    for (const auto& c : cases) {
        for (const Row& row : kRows) {
            if (row.id != c.id) continue;
            SCOPED_TRACE(row.line + " with " + std::to_string(c.body.size()) + " bytes");
            BlockPtr block = NewBlock();
            block->commandId = c.id;
            row.fill(block->request);
            EXPECT_EQ(SetMessageBody(*block, c.body), c.fault);
            EXPECT_EQ(Build(c.id, *block, c.id), row.line);
            EXPECT_EQ(MessageBodyOf(block->request), c.fault == BodyFault::kNone ? c.body : "");
        }
    }
}

}  // namespace
}  // namespace velk
