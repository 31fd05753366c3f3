// Lines no phone should send, made up at random: every decoder case and every
// unsolicited head must take them without a crash or a write outside the
// block (the sanitizer builds watch for that), and post one block per line.
#include <random>
#include <string>

#include "decode/unsolicited_decoder.h"
#include "decoder_fixture.h"

namespace velk {
namespace {

class HostileLines : public DecoderFixture {
  protected:
    std::mt19937 random{20261123};

    std::string RandomText() {
        static const std::string pieces[] = {"(", ")", "-", "", "0", "255", "1", "250010", "x"};
        std::uniform_int_distribution<int> pick(0, 11);
        int choice = pick(random);
        if (choice < 9) return pieces[choice];
        std::uniform_int_distribution<int> length(0, 300);
        std::uniform_int_distribution<int> byte(1, 255);
        std::string text(static_cast<std::size_t>(length(random)), ' ');
        for (char& c : text) c = static_cast<char>(byte(random));
        return text;
    }

    // A record of up to 14 nodes of random texts, some of them omitted.
    ATResponseRecord RandomRecord() {
        ATResponseRecord record;
        std::uniform_int_distribution<int> count(0, 13);
        std::bernoulli_distribution coin(0.2);
        record.firstParam.rawLine = coin(random) ? 1 : 0;
        record.firstParam.text = RandomText();
        ATResponseParam* last = &record.firstParam;
        for (int n = count(random); n > 0; --n) {
            last = record.AppendParam(*last);
            last->omitted = coin(random) ? 1 : 0;
            last->text = last->omitted ? "" : RandomText();
        }
        return record;
    }
};

TEST_F(HostileLines, EverySolicitedCaseSurvives) {
    for (int round = 0; round < 40; ++round) {
        SetMessageForms(round % 2, round % 4);
        serviceReplyKind = static_cast<uint32_t>(round % 9);
        for (int32_t command = 13; command <= 238; ++command) {
            DecoderState state;
            state.currentCommand = command;
            ATResponseRecord record = RandomRecord();
            DecodeSolicitedResult(state, record);
            std::vector<BlockPtr> blocks = Take();
            ASSERT_LE(blocks.size(), 2u) << command;
            if (blocks.empty()) {
                EXPECT_EQ(state.currentResult, 0) << command;
                continue;
            }
            EXPECT_EQ(blocks.back()->resultId, state.currentResult) << command;
            if (blocks.size() == 2) {
                EXPECT_EQ(blocks[0]->resultId, kResultError) << command;
            }
        }
    }
}

TEST_F(HostileLines, EveryUnsolicitedHeadSurvives) {
    const char* heads[] = {"+CBC",     "+CSQ",       "+CPIN",     "+CNMI",   "+CMTI",
                           "+CMT",     "+CRING",     "RING",      "+CCWA",   "+CLCC",
                           "CONNECT",  "NO CARRIER", "+EXAUDIO",  "+CAOC",   "+EXCPWD",
                           "+EXACCRP", "+CCLK",      "+CALA",     "+EXHTRP", "+EXCHRST",
                           "+CREG",    "+CME ERROR", "+CMS ERROR"};
    for (int round = 0; round < 40; ++round) {
        for (const char* head : heads) {
            DecoderState state;
            state.replyText = head;
            ATResponseRecord record = RandomRecord();
            DecodeUnsolicitedResult(state, record);
            std::vector<BlockPtr> blocks = Take();
            ASSERT_EQ(blocks.size(), 1u) << head;
            EXPECT_EQ(blocks[0]->resultId, state.currentResult) << head;
        }
    }
}

}  // namespace
}  // namespace velk
