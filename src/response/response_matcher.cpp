// The solicited side of CATResponseMatcher and the report path shared by
// both sides. The head-line classification lives in
// response_matcher_classify.cpp.
#include "response/response_matcher.h"

#include <algorithm>
#include <array>

#include "decode/value_conversions.h"
#include "engine/command_block.h"
#include "engine/message_numbers.h"
#include "engine/thread_ids.h"
#include "platform/string_ops.h"
#include "response/reply_forms.h"

namespace velk {
namespace {

constexpr uint32_t kErrorPostPauseMs = 50;

// Lines that may answer a dial or hang-up command whatever the command's own
// head: supplementary-service lines and the end of the call.
constexpr std::array<std::string_view, 10> kCallHeads = {"+CLCK", "+CLIP",     "+CLIR", "+COLP",
                                                         "+COLR", "+CCFC",     "+CCWA", "+EXATDST",
                                                         "+CLCC", "NO CARRIER"};

struct ServiceReply {
    std::string_view head;
    uint32_t kind;
};
// Which service line a dial command drew; the solicited decoder reads it.
constexpr std::array<ServiceReply, 8> kServiceReplies = {{
    {"+CLCK", 0},
    {"+CLIP", 1},
    {"+CLIR", 2},
    {"+COLP", 3},
    {"+COLR", 4},
    {"+CCFC", 5},
    {"+CCWA", 6},
    {"+EXATDST", 7},
}};

struct ExpectedHead {
    std::string_view command;
    std::string_view head;
};
// Queries whose only information line is their own head: any other line
// during them is an error, even a genuine unsolicited one.
constexpr std::array<ExpectedHead, 4> kFixedHeadQueries = {{
    {"AT+IMGINF", "+IMGINF"},
    {"AT+RNGI", "+RNGI"},
    {"AT+CPIN?", "+CPIN"},
    {"AT+LOGOINF", "+LOGOINF"},
}};
// Reads of a chunk of tone, image or logo data: matched by the start of the
// command, since the chunk number follows.
constexpr std::array<ExpectedHead, 3> kDataReadCommands = {{
    {"AT+IMGR=", "+IMGR"},
    {"AT+RNGR=", "+RNGR"},
    {"AT+LOGOR=", "+LOGOR"},
}};

// Error lines with a head; the first found anywhere in the line wins over
// whatever head the line has.
constexpr std::array<std::string_view, 3> kErrorMarks = {"+CME ERROR:", "+CMS ERROR:", "+CME:"};
constexpr std::string_view kErrorMarkStart = "+CM";

}  // namespace

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): the worker's order
int CATResponseMatcher::MatchSolicited(std::string_view commandText, std::string_view lineText) {
    const std::string_view command = commandText;
    std::string& line = line_;
    line.assign(
        lineText.substr(std::min(lineText.find_first_not_of(kWhiteSpace), lineText.size())));
    ResetRecord(current);

    // A line is only whole with its line end; a zero byte may have cut it.
    if (!Equal(Right(line, 2), "\r\n")) return Report(kReportResponseError, line);

    // The phone echoes what the transmit path sent: the command and CR LF.
    if (line.size() == command.size() + 2 && line.compare(0, command.size(), command) == 0) {
        return 0;
    }

    // Some phones answer a head without its plus sign ("CGMI: ...").
    const std::string head = TrimLeft(SpanExcluding(line, ":"));
    if (!head.empty() && Contains(command, head) && head[0] != '+') line.insert(0, 1, '+');

    line.resize(std::min(line.find('\n'), line.size()));
    current.text = line;
    current.lineLength = static_cast<uint32_t>(line.size());

    if (Equal(line, "OK\r")) {
        current.kind = kindOk;
        return 1;
    }
    if (Equal(line, "ERROR\r")) {
        current.kind = kindError;
        PostError("ERROR");
        return 0;
    }
    // A call or data connection can begin at any time; it must not disturb
    // the reply in progress. The worker is told of it like any line out of
    // turn, but with no head to decode: an earlier line's head left here
    // would otherwise be decoded a second time, against this record.
    if (Equal(line, "RING\r") || Equal(line, "CONNECT\r")) {
        current.outOfTurn = 1;
        pendingLine.clear();
        return 1;
    }

    // Every error mark begins with kErrorMarkStart: most lines are passed
    // over with one search.
    const bool mayBeError = Contains(line, kErrorMarkStart);
    for (std::string_view mark : kErrorMarks) {
        if (!mayBeError || !Contains(line, mark)) continue;
        //   +CME ERROR: <err>       +CMS ERROR: <err>       +CME: <err>
        // <err> a number or a text, maybe in quotes.
        current.kind = kindError;
        std::string detail = line.substr(line.find(':') + 1);
        detail = TrimLeft(detail);
        detail = TrimRight(detail, "\r\n");
        detail = TrimRight(TrimLeft(detail, "\""), "\"");
        current.firstParam.type = paramErrorText;
        current.firstParam.lastIndex = static_cast<int32_t>(detail.size()) - 1;
        current.firstParam.text = detail;
        PostError(detail);
        return 0;
    }

    bool callHead = false;
    if (Contains(command, "ATD") || Contains(command, "ATH")) {
        const std::string replyHead = SpanExcluding(line, ":");
        for (std::string_view h : kCallHeads) {
            if (Contains(replyHead, h)) {
                callHead = true;
                break;
            }
        }
        // Only a dial tells which service a line answers; a hang-up does not.
        if (Contains(command, "ATD")) {
            for (const ServiceReply& s : kServiceReplies) {
                if (Equal(replyHead, s.head)) serviceReplyKind = s.kind;
            }
        }
    }

    if (ClassifyLine(current, line) == 0) return Report(kReportHeadError, current.text);

    const std::string lineHead(SpanExcludingView(line, kHeadEnds));
    for (const ExpectedHead& q : kFixedHeadQueries) {
        if (!Equal(command, q.command)) continue;
        if (current.kind != kindHeadLine || !Equal(lineHead, q.head)) {
            return Report(kReportHeadError, current.text);
        }
    }
    for (const ExpectedHead& r : kDataReadCommands) {
        if (!BeginsWith(command, r.command)) continue;
        if (current.kind != kindHeadLine) return Report(kReportDataHeadError, current.text);
        if (!Equal(lineHead, r.head)) return Report(kReportHeadError, current.text);
    }
    // The opening commands carry no information: anything but the echo and
    // the final result is wrong.
    if (Equal(command, "AT") || Equal(command, "ATE0")) {
        return Report(kReportResponseError, current.text);
    }
    if (current.allLegal == 0) return Report(kReportIllegalParam, current.text);

    // The head the command asks for: "AT+CPBR=1" and "AT+CPBR=?" both expect
    // "+CPBR"; a dial text has no "+" and stays as it is.
    static constexpr ByteSet kCommandHeadEnds("=?\r");
    std::string expected(SpanExcludingView(command, kCommandHeadEnds));
    if (Contains(expected, "+")) expected = TrimLeft(expected, "AT");
    // Plain text lines belong to the command: the text behind a "+CMGR" head
    // line, the headless answer to "AT+CGMI".
    if (Equal(lineHead, expected) || callHead || current.firstParam.rawLine == 1) return 1;

    // A well-formed line of something else, e.g. a new-message notice: hand
    // it to the unsolicited side and keep waiting for the reply.
    current.outOfTurn = 1;
    pendingLine = MatchUnsolicited(line);
    return pendingLine.empty() ? 0 : 1;
}

void CATResponseMatcher::PostError(std::string_view text) {
    ATCommandBlock* block = AllocCommandBlock();
    if (block == nullptr) return;
    block->resultId = kResultError;
    // A text longer than the field leaves the message empty; the error still
    // ends the command.
    ParamToText256(block->result.error.message, std::string(text));
    PostResultBlock(block, kErrorPostPauseMs);
}

void CATResponseMatcher::ResetRecord(ATResponseRecord& record) {
    ResetAllButText(record);
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): pattern first, as printf
int CATResponseMatcher::Report(std::string_view pattern, std::string_view text) {
    errorText.assign(pattern);
    const std::size_t at = errorText.find("%s");
    if (at != std::string::npos) errorText.replace(at, 2, text);
    PostError(errorText);
    return 0;
}

}  // namespace velk
