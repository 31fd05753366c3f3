// Replies captured from real phones and modems, run through the real reader,
// matcher and decoders the way the worker runs them: first a chosen set with
// every block pinned, then the whole collection, which must pass without a
// crash or a sanitizer finding.
#include <cctype>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "decode/unsolicited_decoder.h"
#include "decoder_fixture.h"
#include "engine/command_catalogue.h"
#include "response/response_reader.h"

namespace velk {
namespace {

// The worker's handling of one command's reply, with a scripted line source.
class ReplyRun {
  public:
    ReplyRun() : reader(ScriptedLink()) {}

    // Feeds `lines` as the reply to `command` (id 0: no command waits) and
    // returns what the transfer thread would receive.
    std::vector<BlockPtr> Run(int32_t id, const std::string& command,
                              const std::vector<std::string>& lines) {
        DecoderState state;
        state.currentCommand = id;
        std::string commandText = command;
        for (char& c : commandText)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        bool waiting = id != 0;
        std::vector<BlockPtr> blocks;
        for (const std::string& line : lines) {
            queue_.push_back(line + "\r\n");
            if (waiting) {
                if (reader.ReadSolicited(commandText) == 1) {
                    DecodeSolicitedResult(state, reader.lines.GetRecord(0));
                }
                if (reader.finished != 0) {
                    waiting = false;
                    if (reader.finalStatus() == kindOk) PostDone(id);
                }
            } else {
                state.replyText = reader.ReadUnsolicited();
                if (!state.replyText.empty())
                    DecodeUnsolicitedResult(state, reader.lines.GetRecord(0));
            }
            Drain(state, blocks);
        }
        return blocks;
    }

  private:
    ReaderLink ScriptedLink() {
        ReaderLink link;
        link.takeLine = [this](char*& buffer, uint32_t& length) {
            if (queue_.empty()) return false;
            const std::string& line = queue_.front();
            length = static_cast<uint32_t>(line.size());
            buffer = new char[line.size()];
            line.copy(buffer, line.size());
            queue_.pop_front();
            return true;
        };
        link.releaseLine = [](char*& buffer) {
            delete[] buffer;
            buffer = nullptr;
        };
        link.sendCommand = [](std::string&) { return 1; };
        return link;
    }

    static void PostDone(int32_t id) {
        ATCommandBlock* done = AllocCommandBlock();
        done->resultId = kResultDone;
        done->result.done.commandId = id;
        PostResultBlock(done, kPostRetryPauseMs);
    }

    // Result blocks go to the list; a line out of turn is decoded as the
    // worker does on its message.
    void Drain(DecoderState& state, std::vector<BlockPtr>& blocks) {
        ThreadMessage message;
        while (PeekThreadMessage(message)) {
            if (message.message == AT_MSG_REPLY_UNSOLICITED) {
                state.replyText = reader.pendingLine();
                if (!state.replyText.empty())
                    DecodeUnsolicitedResult(state, reader.lines.GetRecord(0));
                continue;
            }
            blocks.emplace_back(reinterpret_cast<ATCommandBlock*>(message.lParam));
        }
    }

    std::deque<std::string> queue_;
    CATResponseReader reader;
};

// The command id a captured command runs as: the catalogue entry with its
// exact text, else the one whose text ends in "=" and is its longest prefix.
int32_t IdOfCommand(std::string_view command) {
    int32_t id = 0;
    std::size_t best = 0;
    for (const CatalogueEntry& entry : CatalogueEntries()) {
        std::string_view text = entry.text;
        if (text == command) return entry.id;
        if (text.ends_with('=') && command.starts_with(text) && text.size() > best) {
            best = text.size();
            id = entry.id;
        }
    }
    return id;
}

class CorpusReplies : public DecoderFixture {};

struct PinnedRow {
    const char* command;
    std::vector<std::string> lines;
    std::vector<int32_t> resultIds;
    bool (*check)(const std::vector<BlockPtr>&);
};

bool Any(const std::vector<BlockPtr>&) {
    return true;
}

const PinnedRow kPinned[] = {
    {"AT+CPBR=?",
     {"+CPBR: (1-250),20,25", "OK"},
     {12, 1},
     [](const std::vector<BlockPtr>& b) {
         const auto& r = b[0]->result.phonebookReadRange;
         return Field(r.indexRange) == "(1-250)" && r.numberLength == 20 && r.textLength == 25 &&
                b[1]->result.done.commandId == 209;
     }},
    {"AT+CPBR=6",
     {"+CPBR: 6,\"\",,\"005300740061006E006C006500790020005000610075006C\"", "OK"},
     {14, 1},
     [](const std::vector<BlockPtr>& b) {
         const auto& e = b[0]->result.phonebookEntry;
         return e.index == 6 && Field(e.number).empty() && e.numberType == kOmitted &&
                Field(e.text) == "005300740061006E006C006500790020005000610075006C";
     }},
    {"AT+CMGR=1",
     {"+CMGR: \"REC "
      "READ\",\"+85291234567\",,\"07/02/18,00:05:10+32\",145,4,0,0,\"+85290000000\",145,49",
      "It is easy to read text messages via AT commands.", "OK"},
     {62, 231, 1},
     [](const std::vector<BlockPtr>& b) {
         const auto& h = b[0]->result.messageDeliverHeader;
         return Field(h.state) == "REC READ" && Field(h.originator) == "+85291234567" &&
                Field(h.timestamp) == "07/02/18,00:05:10+32" && h.originatorType == 145 &&
                Field(h.serviceCentre) == "+85290000000" && h.length == 49 &&
                Field(b[1]->result.messageDeliverHeader.body).starts_with("It is easy");
     }},
    {"AT+CPMS=?",
     {"+CPMS: (\"SM\",\"ME\"), (\"SM\",\"ME\"), (\"SM\",\"ME\")", "OK"},
     {31, 1},
     [](const std::vector<BlockPtr>& b) {
         const auto& s = b[0]->result.messageStoreLists;
         return Field(s.stores1) == "(SM,ME)" && Field(s.stores3) == "(SM,ME)";
     }},
    {"AT+CNMI=?",
     {"+CNMI: (2),(0-1,3),(0,2),(0-1),(0)", "OK"},
     {54, 1},
     [](const std::vector<BlockPtr>& b) {
         const auto& l = b[0]->result.indicationLists;
         return Field(l.modes) == "(2)" && Field(l.delivers) == "(0,-,1,3)" &&
                Field(l.buffereds) == "(0)";
     }},
    {"AT+CSCA?", {"+CME ERROR: 14"}, {3}, Any},
    {"AT+CGMM",
     {"Nokia 5210", "OK"},
     {6, 1},
     [](const std::vector<BlockPtr>& b) {
         return Field(b[0]->result.model.text).starts_with("Nokia 5210");
     }},
    // An unquoted name is refused with a report; the lines behind it still count.
    {"AT+CNUM",
     {"+CNUM: something,\"+34600000001\",145", "+CNUM: ,\"+34600000002\",145",
      "+CNUM: \"another\",\"1234567890\",161"},
     {3, 80, 80},
     [](const std::vector<BlockPtr>& b) {
         return Field(b[1]->result.ownNumber.number) == "+34600000002" &&
                Field(b[1]->result.ownNumber.numberType) == "145" &&
                Field(b[2]->result.ownNumber.number) == "1234567890" &&
                Field(b[2]->result.ownNumber.numberType) == "161";
     }},
    // A report after the end of the reply goes the idle way.
    {"AT",
     {"OK", "", "+CMTI: \"ME\",1"},
     {1, 56},
     [](const std::vector<BlockPtr>& b) {
         return Field(b[1]->result.reportMessageStored.store) == "ME" &&
                b[1]->result.reportMessageStored.index == 1;
     }},
    // The text behind a +CMT header has a head of its own and gives nothing.
    {"(unsolicited)",
     {"+CMT: \"+79XXXXXXXXX\",\"1\",\"15/09/23,01:34:03+24\"", "Test"},
     {57},
     [](const std::vector<BlockPtr>& b) {
         const auto& h = b[0]->result.reportMessageHeader;
         return Field(h.originator) == "+79XXXXXXXXX" && Field(h.alpha) == "1" &&
                Field(h.timestamp) == "15/09/23,01:34:03+24";
     }},
};

TEST_F(CorpusReplies, ChosenCapturesGivePinnedBlocks) {
    for (const PinnedRow& row : kPinned) {
        SCOPED_TRACE(std::string(row.command) + " / " + row.lines.front());
        int32_t id =
            std::string_view(row.command) == "(unsolicited)" ? 0 : IdOfCommand(row.command);
        ReplyRun run;
        std::vector<BlockPtr> blocks = run.Run(id, row.command, row.lines);
        std::vector<int32_t> ids;
        for (const BlockPtr& block : blocks) ids.push_back(block->resultId);
        ASSERT_EQ(ids, row.resultIds);
        EXPECT_TRUE(row.check(blocks));
    }
}

// Reads one JSON string starting at the quote at `pos`; \uXXXX becomes UTF-8.
std::string JsonString(std::string_view text, std::size_t& pos) {
    std::string out;
    for (++pos; pos < text.size() && text[pos] != '"'; ++pos) {
        char c = text[pos];
        if (c != '\\') {
            out += c;
            continue;
        }
        c = text[++pos];
        if (c == 'n')
            out += '\n';
        else if (c == 'r')
            out += '\r';
        else if (c == 't')
            out += '\t';
        else if (c != 'u')
            out += c;
        else {
            unsigned code = std::stoul(std::string(text.substr(pos + 1, 4)), nullptr, 16);
            pos += 4;
            if (code < 0x80) {
                out += static_cast<char>(code);
            } else if (code < 0x800) {
                out += static_cast<char>(0xC0 | (code >> 6));
                out += static_cast<char>(0x80 | (code & 0x3F));
            } else {
                out += static_cast<char>(0xE0 | (code >> 12));
                out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
                out += static_cast<char>(0x80 | (code & 0x3F));
            }
        }
    }
    ++pos;
    return out;
}

TEST_F(CorpusReplies, EveryCaptureRunsThrough) {
    const auto path =
        std::filesystem::path(__FILE__).parent_path() / "../../../shared/corpus/replies.jsonl";
    std::ifstream file(path);
    if (!file) GTEST_SKIP() << "no corpus at " << path;
    std::string record;
    int runs = 0;
    while (std::getline(file, record)) {
        std::size_t pos = record.find("\"command\"");
        pos = record.find('"', record.find(':', pos));
        std::string command = JsonString(record, pos);
        std::vector<std::string> lines;
        pos = record.find('[', record.find("\"lines\""));
        for (pos = record.find_first_of("\"]", pos); record[pos] == '"';
             pos = record.find_first_of("\"]", pos)) {
            lines.push_back(JsonString(record, pos));
        }
        int32_t id = command == "(unsolicited)" ? 0 : IdOfCommand(command);
        if (id == 0 && command != "(unsolicited)") continue;
        SCOPED_TRACE(record);
        ReplyRun run;
        std::vector<BlockPtr> blocks = run.Run(id, command, lines);
        // No line gives more than a block and an error, and the end one more.
        EXPECT_LE(blocks.size(), 2 * lines.size() + 1);
        for (const BlockPtr& block : blocks) EXPECT_GT(block->resultId, 0);
        ++runs;
    }
    EXPECT_GT(runs, 150);
}

}  // namespace
}  // namespace velk
