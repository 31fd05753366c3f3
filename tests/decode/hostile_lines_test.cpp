// Lines no phone should send, made up at random: every decoder case and every
// unsolicited head must take them without a crash or a write outside the
// block (the sanitizer builds watch for that), and give one block per line.
#include <random>
#include <string>

#include "decode/unsolicited_decoder.h"
#include "decoder_fixture.h"

namespace velk {
namespace {

class HostileLines : public ::testing::Test {
  protected:
    std::mt19937 random{20261123};

    std::string RandomText() {
        static const std::string pieces[] = {"(", ")", "-", "", "0", "255", "1", "250010", "x"};
        const int choice = static_cast<int>(random() % 12);
        if (choice < 9) return pieces[choice];
        std::string text(random() % 301, ' ');
        for (char& c : text) c = static_cast<char>(1 + random() % 255);
        return text;
    }

    // A record of up to 14 nodes of random texts, some of them omitted.
    ATResponseRecord RandomRecord() {
        ATResponseRecord record;
        record.firstParam.rawLine = random() % 5 == 0;
        record.firstParam.text = RandomText();
        ATResponseParam* last = &record.firstParam;
        for (auto n = random() % 14; n > 0; --n) {
            last = record.AppendParam(*last);
            last->omitted = random() % 5 == 0;
            last->text = last->omitted ? "" : RandomText();
        }
        return record;
    }
};

TEST_F(HostileLines, EveryCaseAndHeadSurvives) {
    const char* heads[] = {"+CBC",     "+CSQ",       "+CPIN",     "+CNMI",   "+CMTI",
                           "+CMT",     "+CRING",     "RING",      "+CCWA",   "+CLCC",
                           "CONNECT",  "NO CARRIER", "+EXAUDIO",  "+CAOC",   "+EXCPWD",
                           "+EXACCRP", "+CCLK",      "+CALA",     "+EXHTRP", "+EXCHRST",
                           "+CREG",    "+CME ERROR", "+CMS ERROR"};
    for (int round = 0; round < 40; ++round) {
        const ReplySelectors selectors{.serviceReplyKind = static_cast<uint32_t>(round % 9),
                                       .messageListForm = static_cast<uint32_t>(round % 2),
                                       .messageReadForm = static_cast<uint32_t>(round % 4)};
        for (int32_t command = 13; command <= 238; ++command) {
            const ATResponseRecord record = RandomRecord();
            const DecodedBlocks blocks = DecodeSolicitedResult(command, record, selectors);
            // An error block only before the block of the case's form.
            EXPECT_TRUE(!blocks.error || blocks.error->resultId == kResultError) << command;
            EXPECT_TRUE(!blocks.error || blocks.result) << command;
        }
        for (const char* head : heads) {
            ASSERT_TRUE(DecodeUnsolicitedResult(head, RandomRecord())) << head;
        }
    }
}

}  // namespace
}  // namespace velk
