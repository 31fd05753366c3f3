// Every record of the corpus of real replies from phones and modems goes
// through the line assembly, the response reader and matcher and the
// decoders, handled line by line as the worker handles a reply: solicited
// reads while the command waits, the idle path after its final line, a line
// out of turn decoded right after the line that announced it. Nothing may
// crash, and for a chosen record of every command family the blocks are
// pinned byte for byte.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "corpus_records.h"
#include "decode/unsolicited_decoder.h"
#include "decoder_fixture.h"
#include "engine/thread_ids.h"
#include "response/response_reader.h"
#include "serial/line_assembler.h"

namespace velk {
namespace {

std::string CorpusPath() {
    if (const char* path = std::getenv("VELK_CORPUS")) return path;
    // tests/decode/ -> the shared corpus beside the repository.
    return (std::filesystem::path(__FILE__).parent_path() / "../../../shared/corpus/replies.jsonl")
        .lexically_normal()
        .string();
}

// One reply fed to the reader as the worker would see it.
class ReplyRun {
  public:
    // No id: every line takes the idle path.
    ReplyRun(std::optional<int32_t> commandId, const std::string& commandText)
        : assembler_(
              [this](const char* line, uint32_t length) { received_.emplace_back(line, length); }),
          reader_(ReaderLink{[this](char*& buffer, uint32_t& length) {
                                 if (received_.empty()) return false;
                                 const std::string& line = received_.front();
                                 buffer = new char[line.size() + 1];
                                 std::memcpy(buffer, line.data(), line.size() + 1);
                                 length = static_cast<uint32_t>(line.size());
                                 received_.pop_front();
                                 return true;
                             },
                             [](char*& buffer) {
                                 delete[] buffer;
                                 buffer = nullptr;
                             },
                             [](std::string&) { return 1; }}),
          waiting_(commandId.has_value()) {
        state_.currentCommand = commandId.value_or(0);
        commandText_ = commandText;
        for (char& c : commandText_) {
            if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
        }
    }

    void Feed(const std::string& line) {
        const std::string bytes = line + "\r\n";
        assembler_.Feed(bytes.data(), bytes.size());
        while (!received_.empty()) {
            OnLine();
            Drain();
        }
    }

    bool Waiting() const { return waiting_; }
    std::vector<BlockPtr>& Blocks() { return blocks_; }

  private:
    // What the worker does with one received line.
    void OnLine() {
        if (waiting_) {
            if (reader_.ReadSolicited(commandText_) != 0) {
                DecodeSolicitedResult(state_, reader_.lines.GetRecord(0));
            }
            if (reader_.finished != 0) {
                waiting_ = false;
                if (reader_.finalStatus() == kindOk) {
                    ATCommandBlock* done = AllocCommandBlock();
                    ASSERT_NE(done, nullptr);
                    done->resultId = kResultDone;
                    done->result.done.commandId = state_.currentCommand;
                    PostResultBlock(done, 0);
                }
            }
            return;
        }
        state_.replyText = reader_.ReadUnsolicited();
        if (!state_.replyText.empty()) {
            DecodeUnsolicitedResult(state_, reader_.lines.GetRecord(0));
        }
    }

    // Blocks to the list; a line out of turn to the unsolicited decoder.
    void Drain() {
        ThreadMessage message;
        while (PeekThreadMessage(message)) {
            if (message.message == AT_MSG_REPLY_UNSOLICITED) {
                state_.replyText = reader_.pendingLine();
                if (!state_.replyText.empty()) {
                    DecodeUnsolicitedResult(state_, reader_.lines.GetRecord(0));
                }
            } else if (message.wParam == kResultParam && message.lParam != 0) {
                // NOLINTNEXTLINE(performance-no-int-to-ptr): the block the message carries
                blocks_.emplace_back(BlockOf(message));
                EXPECT_EQ(message.message, MessageForId(blocks_.back()->resultId));
            }
        }
    }

    std::deque<std::string> received_;
    LineAssembler assembler_;
    CATResponseReader reader_;
    DecoderState state_;
    std::string commandText_;
    bool waiting_;
    std::vector<BlockPtr> blocks_;
};

// ---- Pinned outcomes ----

using Fill = std::function<void(ResultForms&)>;

struct Expected {
    int32_t resultId;
    Fill fill;
};

template <std::size_t N>
void Put(char (&field)[N], std::string_view text) {
    std::memcpy(field, text.data(), std::min(text.size(), N));
}

Expected Done(int32_t command) {
    return {1, [command](ResultForms& r) { r.done.commandId = command; }};
}
Expected Error(const std::string& message) {
    return {3, [message](ResultForms& r) { Put(r.error.message, message); }};
}
Expected Illegal(const std::string& line) {
    return Error("There is some inlegal parameter in " + line + "\r!");
}
// 5, 6 and 7 share one form: the whole line.
Expected WholeLine(int32_t id, const std::string& text) {
    return {id, [text](ResultForms& r) { Put(r.manufacturer.text, text); }};
}
Expected Entry(int32_t index, const std::string& number, int32_t type, const std::string& text) {
    return {14, [=](ResultForms& r) {
                r.phonebookEntry.index = index;
                Put(r.phonebookEntry.number, number);
                r.phonebookEntry.numberType = type;
                Put(r.phonebookEntry.text, text);
            }};
}
Expected Registration(int32_t id, int32_t first, int32_t second) {
    return {id, [=](ResultForms& r) { r.registration = {first, second}; }};
}
Expected Stored(const std::string& store, int32_t index) {
    return {56, [=](ResultForms& r) {
                Put(r.reportMessageStored.store, store);
                r.reportMessageStored.index = index;
            }};
}
Expected StoresSet(int32_t used, int32_t total) {
    return {29,
            [=](ResultForms& r) { r.messageStoresSet = {used, total, used, total, used, total}; }};
}
Expected Delivered(const std::string& state, const std::string& originator, const std::string& time,
                   const std::function<void(ResultMessageDeliverHeader&)>& rest = {}) {
    return {62, [=](ResultForms& r) {
                Put(r.messageDeliverHeader.state, state);
                Put(r.messageDeliverHeader.originator, originator);
                Put(r.messageDeliverHeader.timestamp, time);
                if (rest) rest(r.messageDeliverHeader);
            }};
}
Expected Body(const std::string& body) {
    return {231, [body](ResultForms& r) { Put(r.messageDeliverHeader.body, body); }};
}

struct Pin {
    std::size_t record;  // 0-based line of the corpus file
    std::string_view command;
    std::vector<Expected> blocks;
};

// One or more records of every command family that has an id.
std::vector<Pin> Pins() {
    return {
        // An omitted type reads 65535; the name stays in the phone's hex.
        {0,
         "AT+CPBR=16",
         {Entry(16, "", 65535, "005300740065007600650020002000560069006E0073006F006E"), Done(13)}},
        // An unquoted hex name fails its validator; the command still ends.
        {2,
         "AT+CPBR=419",
         {Illegal("+CPBR: 419,\"030450566735\",129,"
                  "56697263686F77204B6C696E696B756D2053742E20333100"),
          Done(13)}},
        // Parameters are read by place, so an extra omitted one shifts all.
        {4, "AT+CPBR=1", {Entry(1, "", 65535, "145"), Done(13)}},
        // The assembler keeps a bare LF inside the quotes, but the matcher
        // reads a line only up to its first LF: the open quote takes what
        // stands before it and nothing of the rest is read.
        {6, "AT+CPBR=241", {Entry(241, "\x0e\x04\r", 0, ""), Done(13)}},
        {11,
         "AT+CPBR=?",
         {{12,
           [](ResultForms& r) {
               Put(r.phonebookReadRange.indexRange, "(1-250)");
               r.phonebookReadRange.numberLength = 20;
               r.phonebookReadRange.textLength = 25;
           }},
          Done(209)}},
        {12,
         "AT+CPBS?",
         {{17,
           [](ResultForms& r) {
               Put(r.phonebookStorage.storage, "ON");
               r.phonebookStorage.total = 1;
           }},
          Done(207)}},
        {13,
         "AT+CPBS=?",
         {{15,
           [](ResultForms& r) {
               Put(r.phonebookStorages.storages, "(SM,DC,FD,LD,MC,ME,RC,EN,ON)");
           }},
          Done(208)}},
        {22,
         "AT+CMGR=303",
         {Delivered("REC READ", "+393488535999", "07/04/05,18:02:28+08",
                    [](ResultMessageDeliverHeader& h) {
                        h.originatorType = 145;
                        h.firstOctet = 4;
                        Put(h.serviceCentre, "+393492000466");
                        h.serviceCentreType = 145;
                        h.length = 93;
                    }),
          Body("You have a missed called. Freeinformation provided by your operator.\r"),
          Done(61)}},
        {26,
         "AT+CMGR=3",
         {Delivered("REC READ", "+31625044454", "07/07/05,09:56:03+08"), Body("Test message 2\r"),
          Done(61)}},
        // A body longer than its field is cut to the field; OK is appended.
        {31,
         "AT+CMGR=0",
         {Delivered("0", "", "", [](ResultMessageDeliverHeader& h) { Put(h.alpha, "50"); }),
          Body("07916163838428F9040B916121021021F700005190514164220A23C4B0BCFD5E8740C4B0BCFD5E83C2"
               "6"),
          Done(61)}},
        {36,
         "AT+CPMS?",
         {{30,
           [](ResultForms& r) {
               auto& s = r.messageStores;
               Put(s.store1, "ME");
               Put(s.store2, "MT");
               Put(s.store3, "TA");
               s.used1 = 1, s.total1 = 100, s.used2 = 5, s.total2 = 100, s.used3 = 1;
               s.total3 = 100;
           }},
          Done(221)}},
        {43,
         "AT+CPMS=?",
         {{31,
           [](ResultForms& r) {
               Put(r.messageStoreLists.stores1, "(SM,ME)");
               Put(r.messageStoreLists.stores2, "(SM,ME)");
               Put(r.messageStoreLists.stores3, "(SM,ME)");
           }},
          Done(222)}},
        // A range keeps its dash, with commas round it.
        {57,
         "AT+CNMI=?",
         {{54,
           [](ResultForms& r) {
               auto& l = r.indicationLists;
               Put(l.modes, "(2)");
               Put(l.delivers, "(0,-,1,3)");
               Put(l.broadcasts, "(0,2)");
               Put(l.statusReports, "(0,-,1)");
               Put(l.buffereds, "(0)");
           }},
          Done(220)}},
        {66,
         "AT+CSCA?",
         {{46,
           [](ResultForms& r) {
               Put(r.serviceCentre.address, "+79168999100");
               r.serviceCentre.addressType = 145;
           }},
          Done(216)}},
        {69, "AT+CSCA?", {Illegal("+CSCA: \"\",129"), Done(216)}},
        {77,
         "AT+CSMP?",
         {{48,
           [](ResultForms& r) {
               r.textParameters = {49, 167, 0, 0};
           }},
          Done(217)}},
        // The echo and the blank line before OK are passed over.
        {79,
         "AT+CSCS?",
         {{92, [](ResultForms& r) { Put(r.characterSet.characterSet, "GSM"); }}, Done(179)}},
        {81,
         "AT+CSCS=?",
         {{93, [](ResultForms& r) { Put(r.characterSets.characterSets, "(IRA,GSM,UCS2)"); }},
          Done(180)}},
        {87,
         "AT+CMGF=?",
         {{43, [](ResultForms& r) { Put(r.messageFormats.formats, "(0,1)"); }}, Done(215)}},
        {90,
         "AT+COPS?",
         {{77,
           [](ResultForms& r) {
               r.operatorCurrent.mode = 1;
               r.operatorCurrent.format = 2;
               Put(r.operatorCurrent.operatorName, "46000");
           }},
          Done(185)}},
        {108,
         "AT+COPS=?",
         {{78, [](ResultForms& r) { Put(r.operators.operators, "(0,1,2,3),(1,2,3,4)"); }},
          Done(186)}},
        {113, "AT+CREG?", {Registration(73, 0, 0), Done(181)}},
        {114, "AT+CREG?", {Done(181)}},
        {127, corpus::kUnsolicited, {Registration(75, 3, 0)}},
        {129, corpus::kUnsolicited, {Registration(75, 2, 65535)}},
        {130,
         corpus::kUnsolicited,
         {Registration(75, 5, 0),
          Error("Can't find the matched response code for +CGREG: 0\r\n!")}},
        // The text line behind a +CMT header has a head of its own: no block.
        {183,
         corpus::kUnsolicited,
         {{57,
           [](ResultForms& r) {
               Put(r.reportMessageHeader.originator, "+79XXXXXXXXX");
               Put(r.reportMessageHeader.alpha, "1");
               Put(r.reportMessageHeader.timestamp, "15/09/23,01:34:03+24");
           }}}},
        {132,
         "AT+CSQ",
         {{9,
           [](ResultForms& r) {
               r.signal = {18, 99};
           }},
          Done(183)}},
        // Two echoes, then an error line as the final reply.
        {136, "AT+CSQ", {Error("515")}},
        {139,
         "AT+CBC",
         {{11,
           [](ResultForms& r) {
               r.battery = {0, 97};
           }},
          Done(166)}},
        {142,
         "AT+CPIN?",
         {{83, [](ResultForms& r) { Put(r.pinState.code, "SIM PIN"); }}, Done(175)}},
        {149, "AT+CGMM", {WholeLine(6, "MULTIBAND  900E  1800 \r"), Done(168)}},
        // 350 characters: too long for the field, which stays empty.
        {152, "AT+CGMM", {WholeLine(6, ""), Done(168)}},
        {155,
         "AT+CGMR",
         {WholeLine(7, "V ICPR72_08w44.1\r"), WholeLine(7, "24-11-08\r"), WholeLine(7, "RM-348\r"),
          WholeLine(7, "(c) Nokia\r"), WholeLine(7, "11.049\r"), Done(169)}},
        {156, "AT+CGMI", {WholeLine(5, "WAVECOM MODEM\r"), Done(167)}},
        {165,
         "AT+CGSN",
         {{8, [](ResultForms& r) { Put(r.serial.text, "129512359199159,SE393939TS\r"); }},
          Done(170)}},
        {172,
         "AT+CIMI",
         {{81, [](ResultForms& r) { Put(r.imsi.imsi, "987654321012345\r"); }}, Done(174)}},
        {177,
         "AT+CNUM",
         {Illegal("+CNUM: something,\"+34600000001\",145"),
          {80,
           [](ResultForms& r) {
               Put(r.ownNumber.number, "+34600000002");
               Put(r.ownNumber.numberType, "145");
           }},
          {80,
           [](ResultForms& r) {
               Put(r.ownNumber.number, "1234567890");
               Put(r.ownNumber.numberType, "161");
           }},
          Done(173)}},
        // After OK the +CMTI is a line of the phone's own accord.
        {178, "AT", {Done(239), Stored("ME", 1)}},
        // A +CMTI before the echo is decoded where it stands.
        {179, "AT+CPMS=\"SM\",\"SM\"", {Stored("SM", 1), StoresSet(1, 20), Done(28)}},
        {184, "AT+CMGF=1", {Error("11")}},
        {186, "AT+CPIN=\"1234\"", {Error("16")}},
        {193, "AT", {Error("")}},
        {197, "AT+CMGR=2", {Error("321")}},
        {200, "AT+CPMS=\"ME\"", {StoresSet(2, 300), StoresSet(2, 300), Done(28)}},
    };
}

// The first payload byte at which the two blocks differ, or -1.
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the order does not matter
long FirstDifference(const ATCommandBlock& a, const ATCommandBlock& b) {
    const auto* x = reinterpret_cast<const unsigned char*>(&a);
    const auto* y = reinterpret_cast<const unsigned char*>(&b);
    for (std::size_t i = 0; i < sizeof(ATCommandBlock); ++i) {
        if (x[i] != y[i]) return static_cast<long>(i - offsetof(ATCommandBlock, result));
    }
    return -1;
}

// Up to 24 payload bytes from `offset`, printable or as \xNN.
std::string BytesAt(const ATCommandBlock& block, long offset) {
    const auto* payload = reinterpret_cast<const unsigned char*>(&block.result);
    std::string out;
    for (long i = offset; i < offset + 24 && i < static_cast<long>(sizeof(ResultForms)); ++i) {
        const unsigned char c = payload[i];
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
        } else {
            static constexpr char kHex[] = "0123456789abcdef";
            out += "\\x";
            out += kHex[c >> 4];
            out += kHex[c & 0x0F];
        }
    }
    return out;
}

// Ids the unsolicited decoder posts, also for a line out of turn.
const std::set<int32_t> kReportIds = {9,   11,  55,  56,  57,  59,  75,  79,  84,  99,  100, 102,
                                      104, 120, 122, 123, 124, 137, 139, 187, 188, 189, 235};

class Corpus : public DecoderFixture {
  protected:
    void SetUp() override {
        DecoderFixture::SetUp();
        records_ = corpus::ReadRecords(CorpusPath());
        if (records_.empty()) GTEST_SKIP() << "no corpus at " << CorpusPath();
    }

    // Feeds a record as its command's reply; a reply the peer's test cut
    // short of its final line gets "OK".
    std::unique_ptr<ReplyRun> Run(const corpus::Record& record, std::optional<int32_t> id) {
        auto run = std::make_unique<ReplyRun>(id, record.command);
        for (const std::string& line : record.lines) run->Feed(line);
        if (run->Waiting()) run->Feed("OK");
        return run;
    }

    std::vector<std::optional<corpus::Record>> records_;
};

TEST_F(Corpus, EveryRecordRunsAndEndsItsCommand) {
    ASSERT_EQ(records_.size(), 202u);
    std::size_t skipped = 0;
    for (std::size_t i = 0; i < records_.size(); ++i) {
        ASSERT_TRUE(records_[i].has_value()) << "record " << i << " is no record";
        const corpus::Record& record = *records_[i];
        const bool unsolicited = record.command == corpus::kUnsolicited;
        std::optional<int32_t> id = corpus::CommandIdFor(record.command);
        if (!unsolicited && !id) {
            ++skipped;
            continue;
        }
        std::unique_ptr<ReplyRun> run = Run(record, unsolicited ? std::nullopt : id);
        EXPECT_FALSE(run->Waiting()) << "record " << i;

        // Only the forms the catalogue gives the command, the ends of a
        // command and the forms of lines out of turn.
        std::set<int32_t> allowed = kReportIds;
        allowed.insert({kResultDone, kResultError});
        if (id) {
            for (int32_t result : CatalogueResults(*id)) allowed.insert(result);
        }
        int done = 0;
        for (const BlockPtr& block : run->Blocks()) {
            EXPECT_TRUE(allowed.count(block->resultId))
                << "record " << i << ": " << block->resultId;
            if (block->resultId == kResultDone) {
                ++done;
                EXPECT_EQ(block->result.done.commandId, id.value_or(-1)) << "record " << i;
            }
        }
        EXPECT_LE(done, 1) << "record " << i;
    }
    // AT+CMGL with parameters, AT+CCLK?, AT+CUSD=, AT+VTS=, AT+XYZ, AT+ZZZ.
    EXPECT_EQ(skipped, 13u);
}

TEST_F(Corpus, ChosenRecordsGiveExactlyThesePinnedBlocks) {
    for (const Pin& pin : Pins()) {
        ASSERT_LT(pin.record, records_.size());
        ASSERT_TRUE(records_[pin.record].has_value());
        const corpus::Record& record = *records_[pin.record];
        ASSERT_EQ(record.command, pin.command) << "record " << pin.record << " moved";
        const bool unsolicited = record.command == corpus::kUnsolicited;
        std::unique_ptr<ReplyRun> run =
            Run(record, unsolicited ? std::nullopt : corpus::CommandIdFor(record.command));

        std::vector<BlockPtr>& blocks = run->Blocks();
        ASSERT_EQ(blocks.size(), pin.blocks.size())
            << "record " << pin.record << " " << record.command;
        for (std::size_t b = 0; b < blocks.size(); ++b) {
            BlockPtr want(AllocCommandBlock());
            ASSERT_NE(want, nullptr);
            want->resultId = pin.blocks[b].resultId;
            pin.blocks[b].fill(want->result);
            EXPECT_EQ(blocks[b]->resultId, want->resultId)
                << "record " << pin.record << " block " << b;
            const long at = FirstDifference(*blocks[b], *want);
            EXPECT_EQ(at, -1) << "record " << pin.record << " block " << b
                              << ": payload differs at byte " << at << ": got \""
                              << BytesAt(*blocks[b], at) << "\", want \"" << BytesAt(*want, at)
                              << "\"";
        }
    }
}

TEST(CorpusCommandIds, ExactTextFirstThenTheLongestPrefixEndingInEquals) {
    struct Row {
        std::string_view command;
        std::optional<int32_t> id;
    };
    const Row rows[] = {
        {"AT+CPBR=?", 209},     {"AT+CPBR=16", 13}, {"AT+CMGR=303", 61},
        {"AT+CPMS=\"ME\"", 28}, {"AT", 239},        {"AT+CGMI", 167},
        {"AT+CMGL=4", {}},      {"AT+CCLK?", {}},   {"AT+CUSD=1,\"#\",15", {}},
        {"ATE0", 240},
    };
    for (const Row& row : rows) EXPECT_EQ(corpus::CommandIdFor(row.command), row.id) << row.command;
}

}  // namespace
}  // namespace velk
