#include "response/response_reader.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "engine/message_numbers.h"
#include "platform/thread_messages.h"
#include "posted_errors.h"
#include "serial/receive_queue.h"

namespace velk {
namespace {

using namespace std::string_literals;

class ResponseReader : public ::testing::Test {
  protected:
    ResponseReader() { ClearLines(), Notices(); }
    ~ResponseReader() override {
        EXPECT_EQ(HasLine(), 0);
        Notices();
    }

    // Puts lines into the serial link's receive queue as the line assembler
    // would, line end included.
    static void Queue(std::initializer_list<std::string> lines) {
        for (const std::string& line : lines) {
            ASSERT_EQ(PushLine(line.data(), static_cast<uint32_t>(line.size())), 1);
        }
    }
    // The notices of lines out of turn posted to the worker since the last call.
    static int Notices() {
        int count = 0;
        ThreadMessage m;
        while (PeekThreadMessage(m, AT_MSG_REPLY_UNSOLICITED, AT_MSG_REPLY_UNSOLICITED)) ++count;
        return count;
    }
    const ATResponseRecord& Record() { return reader_.lines.GetRecord(0); }

    testing::PostedErrors errors_;  // first: makes this thread's queue
    CATResponseReader reader_;
};

TEST_F(ResponseReader, RecordZeroHoldsOnlyTheLastLineWithItsChain) {
    std::string command = "AT+CPBR=1";
    Queue({"+CPBR: 1,\"+31234657899\",145,\"Mama GSM\"\r\n", "OK\r\n"});
    ASSERT_EQ(reader_.ReadSolicited(command), 1);
    EXPECT_EQ(Record().text, "+CPBR: 1,\"+31234657899\",145,\"Mama GSM\"\r");
    EXPECT_EQ(Record().responseCode, 14u);
    std::vector<std::string> texts;
    for (const ATResponseParam* p = &Record().firstParam; p != nullptr; p = p->next) {
        texts.push_back(p->text);
    }
    EXPECT_EQ(texts, (std::vector<std::string>{"1", "+31234657899", "145", "Mama GSM"}));
    EXPECT_EQ(reader_.matcher.current.firstParam.next, nullptr);  // handed to the record

    EXPECT_EQ(reader_.ReadSolicited(command), 0);
    EXPECT_EQ(Record().ParamCount(), 1u);
    EXPECT_EQ(Record().kind, kindOk);
}

TEST_F(ResponseReader, FinalLinesEndTheReply) {
    struct Case {
        const char* line;
        uint32_t finished;
        uint32_t status;
    };
    const Case cases[] = {
        {"OK\r\n", 1, kindOk},
        {"ERROR\r\n", 1, kindError},
        {"+CME ERROR: 10\r\n", 1, kindError},
        {"+CMS ERROR: 302\r\n", 1, kindError},
        {"+CPIN: READY\r\n", 0, kindHeadLine},  // wrong head for the query: reported, waits
        {"OK\r", 0, kindNone},                  // no line feed: reported, waits
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        std::string command = "AT+RNGI";
        Queue({c.line});
        EXPECT_EQ(reader_.ReadSolicited(command), 0);
        EXPECT_EQ(reader_.finished, c.finished);
        EXPECT_EQ(reader_.finalStatus(), c.status);
    }
    EXPECT_EQ(errors_.Take().size(), 5u);
}

TEST_F(ResponseReader, LinesOutOfTurnPostTheWorkerANotice) {
    std::string command = "AT+CPBR=1";
    Queue({"RING\r\n", "+CMTI: \"SM\",3\r\n", "+CPBR: 1,\"123\",129,\"A\"\r\n", "RING\r\n"});
    EXPECT_EQ(reader_.ReadSolicited(command), 0);
    EXPECT_EQ(Notices(), 1);
    EXPECT_EQ(Record().text, "RING\r");
    EXPECT_EQ(Record().outOfTurn, 0u);  // stays with the matcher

    EXPECT_EQ(reader_.ReadSolicited(command), 0);
    EXPECT_EQ(Notices(), 1);
    EXPECT_EQ(reader_.pendingLine(), "+CMTI");
    EXPECT_EQ(Record().responseCode, 29u);

    EXPECT_EQ(reader_.ReadSolicited(command), 1);  // the reply goes on as before
    EXPECT_EQ(Notices(), 0);
    EXPECT_EQ(reader_.finished, 0u);

    // A ring leaves no head behind that the worker would decode again.
    EXPECT_EQ(reader_.ReadSolicited(command), 0);
    EXPECT_EQ(Notices(), 1);
    EXPECT_EQ(reader_.pendingLine(), "");
}

TEST_F(ResponseReader, ShortMissingOrZeroCutLines) {
    std::string command = "AT";
    for (const std::string& line : {"\r\n"s, "\n"s, "\0OK\r\n"s, "\0\0"s}) {
        Queue({line});
        EXPECT_EQ(reader_.ReadSolicited(command), 0);
        EXPECT_EQ(Record().kind, kindNone);
        EXPECT_EQ(HasLine(), 0);
    }
    EXPECT_EQ(reader_.ReadSolicited(command), 0);  // empty queue
    EXPECT_EQ(reader_.ReadUnsolicited(), "");
    EXPECT_TRUE(errors_.Take().empty());

    command = "AT+CSQ";
    Queue({"+CSQ: 18\0,99\r\n"s});
    EXPECT_EQ(reader_.ReadSolicited(command), 0);
    EXPECT_EQ(errors_.Take(), std::vector<std::string>{"Response error for \"+CSQ: 18\"!"});
    Queue({"\0+CMTI: \"SM\",1\r\n"s});
    EXPECT_EQ(reader_.ReadUnsolicited(), "");
    EXPECT_EQ(errors_.Take(), std::vector<std::string>{"Unsolicited\tresponse head error for !"});
}

// An idle line's record is handed over with its parameters and the length of
// the line less its head.
TEST_F(ResponseReader, IdleLinesGiveTheirHeadAndRecord) {
    Queue({"+CMTI: \"ME\",1\r\n"});
    EXPECT_EQ(reader_.ReadUnsolicited(), "+CMTI");
    EXPECT_EQ(Record().kind, kindHeadLine);
    EXPECT_EQ(Record().ParamCount(), 2u);
    EXPECT_EQ(Record().lineLength, 10u);
}

ATResponseRecord RecordWith(const std::vector<std::string>& values) {
    ATResponseRecord record;
    ATResponseParam* node = &record.firstParam;
    node->text = values.at(0);
    for (std::size_t i = 1; i < values.size(); ++i)
        (node = record.AppendParam(*node))->text = values[i];
    return record;
}

std::vector<std::string> Texts(const ATResponseRecord& record) {
    std::vector<std::string> out;
    for (const ATResponseParam* p = &record.firstParam; p != nullptr; p = p->next) {
        out.push_back(p->text);
    }
    return out;
}

// Under the address sanitizer these also show that no chain is freed twice
// or leaked.
TEST(ATResponseRecord, CopiesOwnTheirChainAndMovesHandItOver) {
    ATResponseRecord original = RecordWith({"1", "3"});
    original.AppendParam(original.firstParam)->text = "2";
    ATResponseRecord copy(original);
    copy.firstParam.next->text = "changed";
    EXPECT_EQ(Texts(original), (std::vector<std::string>{"1", "2", "3"}));

    ATResponseRecord assigned = RecordWith({"x"});
    assigned = original;
    assigned = static_cast<const ATResponseRecord&>(assigned);
    EXPECT_EQ(Texts(assigned), Texts(original));

    const ATResponseParam* chain = original.firstParam.next;
    ATResponseRecord moved(std::move(original));
    EXPECT_EQ(moved.firstParam.next, chain);
    EXPECT_EQ(original.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)
    ATResponseRecord target = RecordWith({"old", "old"});
    target = std::move(moved);
    EXPECT_EQ(target.firstParam.next, chain);
    EXPECT_EQ(moved.firstParam.next, nullptr);  // NOLINT(bugprone-use-after-move)

    target.ReleaseParams();
    EXPECT_EQ(target.ParamCount(), 1u);
}

// Released nodes serve the thread's next lines: one must come back with
// nothing of the line it held.
TEST(ATResponseRecord, ANodeTakenAgainStartsReset) {
    {
        ATResponseRecord used;
        ATResponseParam* node = used.AppendParam(used.firstParam);
        *node = {1, 0, 1, 3, "stale", 7, 4, nullptr};
    }
    ATResponseRecord fresh;
    const ATResponseParam& node = *fresh.AppendParam(fresh.firstParam);
    const ATResponseParam reset;
    EXPECT_EQ(std::tie(node.omitted, node.legal, node.rawLine, node.type, node.text, node.start,
                       node.lastIndex, node.next),
              std::tie(reset.omitted, reset.legal, reset.rawLine, reset.type, reset.text,
                       reset.start, reset.lastIndex, reset.next));
}

TEST(ResponseList, HandsOutEveryIndexAndRestartsFresh) {
    CATResponseList list;
    ATResponseRecord& third = list.GetRecord(2);
    EXPECT_EQ(list.Size(), 3u);
    EXPECT_EQ(&list.GetRecord(2), &third);
    EXPECT_EQ(&list.GetRecord(-1), &list.GetRecord(0));
    ATResponseRecord& first = list.GetRecord(0);
    first.AppendParam(first.firstParam);
    first.text = "old";
    first.lineLength = 4;
    first.kind = kindOk;
    first.responseCode = 7;
    first.firstParam.text = "stale";
    first.allLegal = 0;
    first.outOfTurn = 1;
    list.Restart();
    EXPECT_EQ(list.Size(), 1u);
    const ATResponseRecord& restarted = list.GetRecord(0);
    const ATResponseRecord reset;
    EXPECT_EQ(std::tie(restarted.text, restarted.lineLength, restarted.kind, restarted.responseCode,
                       restarted.firstParam.text, restarted.allLegal, restarted.outOfTurn),
              std::tie(reset.text, reset.lineLength, reset.kind, reset.responseCode,
                       reset.firstParam.text, reset.allLegal, reset.outOfTurn));
    EXPECT_EQ(restarted.ParamCount(), 1u);
}

}  // namespace
}  // namespace velk
