// Every record of the corpus of real replies from phones and modems goes
// through the line assembly, the response reader and matcher and the
// decoders, handled line by line as the worker handles a reply: solicited
// reads while the command waits, the idle path after its final line, a line
// out of turn decoded right after the line that announced it. Nothing may
// crash, and for chosen records of every command family the blocks are
// pinned byte for byte.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "corpus_records.h"
#include "decode/unsolicited_decoder.h"
#include "decoder_fixture.h"
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

// One reply fed to the reader as the worker would see it; without a command
// id every line takes the idle path. A reply cut short of its final line
// gets "OK".
class ReplyRun {
  public:
    ReplyRun(const corpus::Record& record, std::optional<int32_t> commandId)
        : waiting_(commandId.has_value()), commandText_(record.command) {
        state_.currentCommand = commandId.value_or(0);
        for (char& c : commandText_) c = static_cast<char>(std::toupper(c));
        for (const std::string& line : record.lines) Feed(line);
        if (waiting_) Feed("OK");
    }

    bool waiting_;
    std::vector<BlockPtr> blocks;

  private:
    void Feed(const std::string& line) {
        const std::string bytes = line + "\r\n";
        assembler_.Feed(bytes.data(), bytes.size());
        while (!received_.empty()) {
            OnLine();
            Drain();
        }
    }

    // What the worker does with one received line.
    void OnLine() {
        if (!waiting_) {
            state_.replyText = reader_.ReadUnsolicited();
            if (!state_.replyText.empty()) {
                DecodeUnsolicitedResult(state_, reader_.lines.GetRecord(0));
            }
            return;
        }
        if (reader_.ReadSolicited(commandText_) != 0) {
            DecodeSolicitedResult(state_, reader_.lines.GetRecord(0));
        }
        if (reader_.finished == 0) return;
        waiting_ = false;
        if (reader_.finalStatus() == kindOk) {
            ATCommandBlock* done = AllocCommandBlock();
            done->resultId = kResultDone;
            done->result.done.commandId = state_.currentCommand;
            PostResultBlock(done, 0);
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
                blocks.emplace_back(BlockOf(message));
                EXPECT_EQ(message.message, MessageForId(blocks.back()->resultId));
            }
        }
    }

    std::deque<std::string> received_;
    LineAssembler assembler_{
        [this](const char* line, uint32_t length) { received_.emplace_back(line, length); }};
    // Read through a link that hands each line over in a buffer of its own.
    CATResponseReader reader_{ReaderLink{
        [this](char*& buffer, uint32_t& length) {
            if (received_.empty()) return false;
            length = static_cast<uint32_t>(received_.front().size());
            buffer = new char[length];
            std::memcpy(buffer, received_.front().data(), length);
            received_.pop_front();
            return true;
        },
        [](char*& buffer) { delete[] buffer, buffer = nullptr; }, [](std::string&) { return 1; }}};
    DecoderState state_;
    std::string commandText_;
};

using F = ResultForms;

Expected Done(int32_t command) {
    return {kResultDone, [command](F& r) { r.done.commandId = command; }};
}
Expected Error(const std::string& message) {
    return {kResultError, [message](F& r) { Put(r.error.message, message); }};
}
Expected Illegal(const std::string& line) {
    return Error("There is some inlegal parameter in " + line + "\r!");
}
// 5, 6 and 7 share one form: the whole line.
Expected WholeLine(int32_t id, const std::string& text) {
    return {id, [text](F& r) { Put(r.manufacturer.text, text); }};
}
Expected Entry(int32_t index, const std::string& number, int32_t type, const std::string& text) {
    return {14, [=](F& r) {
                r.phonebookEntry = {index, "", type, ""};
                Put(r.phonebookEntry.number, number);
                Put(r.phonebookEntry.text, text);
            }};
}
Expected Registration(int32_t id, int32_t first, int32_t second) {
    return {id, [=](F& r) { r.registration = {first, second}; }};
}
Expected Stored(const std::string& store, int32_t index) {
    return {56, [=](F& r) {
                Put(r.reportMessageStored.store, store);
                r.reportMessageStored.index = index;
            }};
}
Expected StoresSet(int32_t used, int32_t total) {
    return {29, [=](F& r) { r.messageStoresSet = {used, total, used, total, used, total}; }};
}
// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the fields in the line's order
Expected Delivered(const char* state, const char* originator, const char* alpha, const char* time) {
    return {62, [=](F& r) {
                auto& h = r.messageDeliverHeader;
                Put(h.state, state);
                Put(h.originator, originator);
                Put(h.alpha, alpha);
                Put(h.timestamp, time);
            }};
}
Expected Body(const std::string& body) {
    return {231, [body](F& r) { Put(r.messageDeliverHeader.body, body); }};
}

struct Pin {
    std::size_t record;  // 0-based line of the corpus file
    std::string_view command;
    std::vector<Expected> blocks;
};

// One or more records of every command family that has an id.
// clang-format off
const std::vector<Pin>& Pins() {
    static const std::vector<Pin> pins = {
    // An omitted type reads 65535; the name stays in the phone's hex.
    {0, "AT+CPBR=16",
        {Entry(16, "", 65535, "005300740065007600650020002000560069006E0073006F006E"), Done(13)}},
    // An unquoted hex name fails its validator; the command still ends.
    {2, "AT+CPBR=419", {Illegal("+CPBR: 419,\"030450566735\",129,"
                                "56697263686F77204B6C696E696B756D2053742E20333100"), Done(13)}},
    // Parameters are read by place, so an extra omitted one shifts all.
    {4, "AT+CPBR=1", {Entry(1, "", 65535, "145"), Done(13)}},
    // The assembler keeps a bare LF inside the quotes, but the matcher reads a
    // line only up to its first LF: the open quote takes what stands before it.
    {6, "AT+CPBR=241", {Entry(241, "\x0e\x04\r", 0, ""), Done(13)}},
    // A range without commas keeps its form.
    {11, "AT+CPBR=?", {{12, [](F& r) { r.phonebookReadRange = {"(1-250)", 20, 25}; }}, Done(209)}},
    {12, "AT+CPBS?", {{17, [](F& r) { r.phonebookStorage = {"ON", 0, 1}; }}, Done(207)}},
    {22, "AT+CMGR=303", {{62, [](F& r) { r.messageDeliverHeader = {"REC READ", "+393488535999", "",
        "07/04/05,18:02:28+08", 145, 4, 0, 0, "+393492000466", 145, 93, ""}; }},
        Body("You have a missed called. Freeinformation provided by your operator.\r"), Done(61)}},
    {26, "AT+CMGR=3", {Delivered("REC READ", "+31625044454", "", "07/07/05,09:56:03+08"),
        Body("Test message 2\r"), Done(61)}},
    // A body longer than its field is cut to the field; OK is appended.
    {31, "AT+CMGR=0", {Delivered("0", "", "50", ""),
        Body("07916163838428F9040B916121021021F700005190514164220A23C4B0BCFD5E8740C4B0BCFD5E83C26"),
        Done(61)}},
    {36, "AT+CPMS?", {{30, [](F& r) {
        r.messageStores = {"ME", 1, 100, "MT", 5, 100, "TA", 1, 100}; }}, Done(221)}},
    {43, "AT+CPMS=?", {{31, [](F& r) {
        r.messageStoreLists = {"(SM,ME)", "(SM,ME)", "(SM,ME)"}; }}, Done(222)}},
    // A range keeps its dash, with commas round it.
    {57, "AT+CNMI=?", {{54, [](F& r) {
        r.indicationLists = {"(2)", "(0,-,1,3)", "(0,2)", "(0,-,1)", "(0)"}; }}, Done(220)}},
    {69, "AT+CSCA?", {Illegal("+CSCA: \"\",129"), Done(216)}},
    {77, "AT+CSMP?", {{48, [](F& r) { r.textParameters = {49, 167, 0, 0}; }}, Done(217)}},
    // The echo and the blank line before OK are passed over.
    {79, "AT+CSCS?", {{92, [](F& r) { Put(r.characterSet.characterSet, "GSM"); }}, Done(179)}},
    {90, "AT+COPS?", {{77, [](F& r) { r.operatorCurrent = {1, 2, "46000"}; }}, Done(185)}},
    {113, "AT+CREG?", {Registration(73, 0, 0), Done(181)}},
    {114, "AT+CREG?", {Done(181)}},
    {127, corpus::kUnsolicited, {Registration(75, 3, 0)}},
    {129, corpus::kUnsolicited, {Registration(75, 2, 65535)}},
    {130, corpus::kUnsolicited, {Registration(75, 5, 0),
        Error("Can't find the matched response code for +CGREG: 0\r\n!")}},
    // The text line behind a +CMT header has a head of its own: no block.
    {183, corpus::kUnsolicited, {{57, [](F& r) {
        r.reportMessageHeader = {
            "+79XXXXXXXXX", "1", "15/09/23,01:34:03+24", 0, 0, 0, 0, "", 0, 0, ""};
    }}}},
    // Two echoes, then an error line as the final reply.
    {136, "AT+CSQ", {Error("515")}},
    {139, "AT+CBC", {{11, [](F& r) { r.battery = {0, 97}; }}, Done(166)}},
    {142, "AT+CPIN?", {{83, [](F& r) { Put(r.pinState.code, "SIM PIN"); }}, Done(175)}},
    {149, "AT+CGMM", {WholeLine(6, "MULTIBAND  900E  1800 \r"), Done(168)}},
    // 350 characters: too long for the field, which stays empty.
    {152, "AT+CGMM", {WholeLine(6, ""), Done(168)}},
    {155, "AT+CGMR", {WholeLine(7, "V ICPR72_08w44.1\r"), WholeLine(7, "24-11-08\r"),
        WholeLine(7, "RM-348\r"), WholeLine(7, "(c) Nokia\r"), WholeLine(7, "11.049\r"),
        Done(169)}},
    {156, "AT+CGMI", {WholeLine(5, "WAVECOM MODEM\r"), Done(167)}},
    {165, "AT+CGSN",
        {{8, [](F& r) { Put(r.serial.text, "129512359199159,SE393939TS\r"); }}, Done(170)}},
    {177, "AT+CNUM", {Illegal("+CNUM: something,\"+34600000001\",145"),
        {80, [](F& r) { r.ownNumber = {"+34600000002", "145", 0}; }},
        {80, [](F& r) { r.ownNumber = {"1234567890", "161", 0}; }}, Done(173)}},
    // After OK the +CMTI is a line of the phone's own accord.
    {178, "AT", {Done(239), Stored("ME", 1)}},
    // A +CMTI before the echo is decoded where it stands.
    {179, "AT+CPMS=\"SM\",\"SM\"", {Stored("SM", 1), StoresSet(1, 20), Done(28)}},
    {184, "AT+CMGF=1", {Error("11")}},
    {193, "AT", {Error("")}},
    {197, "AT+CMGR=2", {Error("321")}},
    {200, "AT+CPMS=\"ME\"", {StoresSet(2, 300), StoresSet(2, 300), Done(28)}},
    };
    return pins;
}
// clang-format on

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

    std::vector<std::optional<corpus::Record>> records_;
};

TEST_F(Corpus, EveryRecordRunsAndEndsItsCommand) {
    ASSERT_EQ(records_.size(), 202u);
    std::size_t skipped = 0;
    for (std::size_t i = 0; i < records_.size(); ++i) {
        ASSERT_TRUE(records_[i].has_value()) << "record " << i << " is no record";
        const bool unsolicited = records_[i]->command == corpus::kUnsolicited;
        std::optional<int32_t> id = corpus::CommandIdFor(records_[i]->command);
        if (!unsolicited && !id) {
            ++skipped;
            continue;
        }
        ReplyRun run(*records_[i], id);
        EXPECT_FALSE(run.waiting_) << "record " << i;
        // Only the forms the catalogue gives the command, the ends of a
        // command and the forms of lines out of turn.
        std::set<int32_t> allowed = kReportIds;
        allowed.insert({kResultDone, kResultError});
        if (id) {
            for (int32_t result : CatalogueResults(*id)) allowed.insert(result);
        }
        int done = 0;
        for (const BlockPtr& block : run.blocks) {
            EXPECT_TRUE(allowed.count(block->resultId))
                << "record " << i << ": " << block->resultId;
            if (block->resultId != kResultDone) continue;
            ++done;
            EXPECT_EQ(block->result.done.commandId, id.value_or(-1)) << "record " << i;
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
        ReplyRun run(record, corpus::CommandIdFor(record.command));
        ASSERT_EQ(run.blocks.size(), pin.blocks.size()) << "record " << pin.record;
        for (std::size_t b = 0; b < run.blocks.size(); ++b) {
            EXPECT_EQ(Difference(*run.blocks[b], pin.blocks[b]), "")
                << "record " << pin.record << " block " << b;
        }
    }
}

}  // namespace
}  // namespace velk
